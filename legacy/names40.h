#pragma once

#include "model/attr_names.h"

// Name tables of the 4.0 layout: attribute names and enumeration spellings,
// and element names, to the numbers both layouts share.
namespace legacy {

/// Number of a 4.0 attribute name or enumeration spelling, or -1 (also for a
/// null name). Builds the table on first use; when that fails it prints
/// "parser: Can't init symbol lookup\n" and tries again on the next call.
int lookupAttribute40(const char* name) noexcept;
/// As above, for a name already measured (a token's nameKey()).
int lookupAttribute40(const xml::NameKey& key) noexcept;

/// The entry of a 4.0 element name (its spelling in static storage and its
/// number), or null (also for a null name). Builds the table on first use; when
/// that fails it prints "parser: Can't init struct lookup\n" and tries again next time.
const model::ElementName* findElement40(const char* name) noexcept;
const model::ElementName* findElement40(const xml::NameKey& key) noexcept;

/// Number of a 4.0 element name, or -1; as findElement40.
int lookupElement40(const char* name) noexcept;

}  // namespace legacy
