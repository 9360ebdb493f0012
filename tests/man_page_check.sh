#!/bin/sh
# Usage: man_page_check.sh PAGE [SECTION...]
# The page renders without a single groff warning and has the sections every
# page needs, plus the SECTIONs named.
set -u
page=$1
shift
warnings=$(groff -ww -man -Tutf8 "$page" 2>&1 >/dev/null) || { echo "$page: groff failed: $warnings"; exit 1; }
[ -z "$warnings" ] || { echo "$page: $warnings"; exit 1; }
for section in NAME SYNOPSIS DESCRIPTION "EXIT STATUS" FILES ENVIRONMENT EXAMPLES "SEE ALSO" "$@"; do
  grep -qx "\.SH \"*$section\"*" "$page" || { echo "$page: no section $section"; exit 1; }
done
