// Samples of any described type held by the middleware itself (dynamic data), their text
// forms, and the printer of integer fields that generated print functions use.
#ifndef QOR_DDS_DYNAMIC_DATA_H
#define QOR_DDS_DYNAMIC_DATA_H

#include <cstdint>
#include <vector>

#include "qordds/typecode.h"
#include "qordds/types.h"

enum DDS_PrintFormatKind {
    DDS_DEFAULT_PRINT_FORMAT,  // one "name: value" line per member
    DDS_XML_PRINT_FORMAT,
    DDS_JSON_PRINT_FORMAT,
};

struct DDS_PrintFormatProperty {
    DDS_PrintFormatKind kind;
    bool pretty_print;  // XML and JSON: one member per line, indented
};

extern const DDS_PrintFormatProperty DDS_PRINT_FORMAT_PROPERTY_DEFAULT;

class DDSDynamicData {
  public:
    // A sample of `type` with every member at its default value.
    explicit DDSDynamicData(const DDS_TypeCode* type);

    // Loads the members from a serialized sample (encapsulation header first).
    DDS_ReturnCode_t from_cdr_buffer(const char* buffer, unsigned int length);

    // The sample as text. With a null text, stores in *length the size the text needs
    // (terminator included). Otherwise writes it into text (capacity *length) and stores its
    // size; a capacity that is too small gives DDS_RETCODE_OUT_OF_RESOURCES and the size needed.
    DDS_ReturnCode_t to_string(char* text, unsigned int* length,
                               const DDS_PrintFormatProperty& format) const;

  private:
    const DDS_TypeCode* type_;
    std::vector<int32_t> values_;  // one per member, in member order
};

// Prints `indent` levels of indentation to standard output.
void DDS_PrintUtil_print_indent(int indent);

// Prints an integer field as a line "name: value" at `indent` to standard output.
void DDS_PrintUtil_print_long(int32_t value, const char* name, int indent);

#endif
