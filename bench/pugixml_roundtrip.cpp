// The reference for the benchmark: a general-purpose XML library's load of the
// document and indented save of it, as a whole process.
//
//     pugixml_roundtrip INPUT OUTPUT
//
// The declaration and comments are kept so that the saved text has the same
// content as the input.
#include <cstdio>

#include <pugixml.hpp>

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("usage: pugixml_roundtrip INPUT OUTPUT\n", stderr);
        return 2;
    }
    pugi::xml_document document;
    const pugi::xml_parse_result loaded =
        document.load_file(argv[1], pugi::parse_default | pugi::parse_declaration | pugi::parse_comments);
    if (!loaded) {
        std::fprintf(stderr, "%s: %s at offset %td\n", argv[1], loaded.description(), loaded.offset);
        return 1;
    }
    if (!document.save_file(argv[2], "  ", pugi::format_indent)) {
        std::perror(argv[2]);
        return 1;
    }
    return 0;
}
