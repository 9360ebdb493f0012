#pragma once
// Token types on their own, so that the token storage can use them without
// the lexer's whole interface.

namespace xml {

/// Token types. The numbers are what element parsers compare against.
enum class Tok : int {
    XmlDec = 10,         // "<?xml" and white space, through ">"
    StartTag = 11,       // <name>
    StartTagOpen = 12,   // <name followed by attributes
    Attribute = 13,      // an attribute name inside a start tag
    Equal = 14,          // the "=" after an attribute name
    AttValue = 15,       // a delimited attribute value
    StartTagClose = 16,  // ">" ending a start tag with attributes
    EmptyTagClose = 17,  // "/>" ending a start tag with attributes
    Content = 18,        // character data inside an element
    EndTag = 19,         // </name>
    EmptyTag = 20,       // <name/>
    PI = 21,             // other processing instructions
    Comment = 22,        // "<!" through ">" (neither CDATA nor DOCTYPE)
    CData = 23,
    Doctype = 24,
    Unknown = 25,        // initial type; character data outside any element
    Eof = 26,
    LexError = 27,       // an attribute name not followed by "="
    MemoryError = 28,    // the accumulator could not grow
};

}  // namespace xml
