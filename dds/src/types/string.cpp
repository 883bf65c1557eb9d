#include "qordds/string.h"

#include <cstdlib>
#include <cstring>

char* DDS_String_alloc(size_t length) {
    return static_cast<char*>(std::calloc(length + 1, 1));
}

char* DDS_String_dup(const char* text) {
    if (text == nullptr) {
        return nullptr;
    }
    size_t length = std::strlen(text);
    char* copy = DDS_String_alloc(length);
    if (copy != nullptr) {
        std::memcpy(copy, text, length + 1);
    }
    return copy;
}

char* DDS_String_replace(char** string, const char* text) {
    char* copy = DDS_String_dup(text);
    DDS_String_free(*string);
    *string = copy;
    return copy;
}

void DDS_String_free(char* string) {
    std::free(string);
}
