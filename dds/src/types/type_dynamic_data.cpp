#include <cstdio>
#include <cstring>
#include <string>

#include "qordds/dynamic_data.h"
#include "types/type_serializer.h"

const DDS_PrintFormatProperty DDS_PRINT_FORMAT_PROPERTY_DEFAULT = {DDS_DEFAULT_PRINT_FORMAT, false};

namespace {

const char* const kIndent = "    ";

std::string text_of(int32_t value) {
    char digits[16];
    std::snprintf(digits, sizeof digits, "%d", value);
    return digits;
}

std::string as_default_text(const DDS_TypeCode& type, const std::vector<int32_t>& values) {
    std::string text;
    for (uint32_t i = 0; i < type.member_count; ++i) {
        text += std::string(type.members[i].name) + ": " + text_of(values[i]) + "\n";
    }
    return text;
}

std::string as_xml(const DDS_TypeCode& type, const std::vector<int32_t>& values, bool pretty) {
    const char* indent = pretty ? kIndent : "";
    const char* end_of_line = pretty ? "\n" : "";
    std::string text = std::string("<") + type.name + ">" + end_of_line;
    for (uint32_t i = 0; i < type.member_count; ++i) {
        const char* name = type.members[i].name;
        text += std::string(indent) + "<" + name + ">" + text_of(values[i]) + "</" + name + ">" +
                end_of_line;
    }
    return text + "</" + type.name + ">" + end_of_line;
}

std::string as_json(const DDS_TypeCode& type, const std::vector<int32_t>& values, bool pretty) {
    const char* indent = pretty ? kIndent : "";
    const char* end_of_line = pretty ? "\n" : "";
    const char* colon = pretty ? ": " : ":";
    std::string text = std::string("{") + end_of_line;
    for (uint32_t i = 0; i < type.member_count; ++i) {
        text += std::string(indent) + "\"" + type.members[i].name + "\"" + colon +
                text_of(values[i]) + (i + 1 < type.member_count ? "," : "") + end_of_line;
    }
    return text + "}" + end_of_line;
}

}  // namespace

DDSDynamicData::DDSDynamicData(const DDS_TypeCode* type) : type_(type) {
    if (qordds::type_code_is_valid(type)) {
        for (uint32_t i = 0; i < type->member_count; ++i) {
            values_.push_back(type->members[i].default_value);
        }
    }
}

DDS_ReturnCode_t DDSDynamicData::from_cdr_buffer(const char* buffer, unsigned int length) {
    if (!qordds::type_code_is_valid(type_) || buffer == nullptr) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    std::vector<int32_t> values;
    if (!qordds::read_member_values(*type_, buffer, length, false, &values)) {
        return DDS_RETCODE_ERROR;
    }
    values_.swap(values);
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDynamicData::to_string(char* text, unsigned int* length,
                                           const DDS_PrintFormatProperty& format) const {
    if (!qordds::type_code_is_valid(type_) || length == nullptr) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    std::string formatted;
    switch (format.kind) {
        case DDS_DEFAULT_PRINT_FORMAT:
            formatted = as_default_text(*type_, values_);
            break;
        case DDS_XML_PRINT_FORMAT:
            formatted = as_xml(*type_, values_, format.pretty_print);
            break;
        case DDS_JSON_PRINT_FORMAT:
            formatted = as_json(*type_, values_, format.pretty_print);
            break;
        default:
            return DDS_RETCODE_BAD_PARAMETER;
    }
    unsigned int needed = static_cast<unsigned int>(formatted.size() + 1);
    if (text == nullptr) {
        *length = needed;
        return DDS_RETCODE_OK;
    }
    if (*length < needed) {
        *length = needed;
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
    std::memcpy(text, formatted.c_str(), needed);
    *length = needed;
    return DDS_RETCODE_OK;
}

void DDS_PrintUtil_print_indent(int indent) {
    for (int i = 0; i < indent; ++i) {
        std::fputs(kIndent, stdout);
    }
}

void DDS_PrintUtil_print_long(int32_t value, const char* name, int indent) {
    DDS_PrintUtil_print_indent(indent);
    std::printf("%s: %d\n", name != nullptr ? name : "", value);
}
