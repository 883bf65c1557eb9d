// Serialized bytes written as text ("00 01 0a ..."), both ways, for tests that compare them.
#ifndef QOR_TESTS_UNIT_DDS_HEX_BYTES_H
#define QOR_TESTS_UNIT_DDS_HEX_BYTES_H

#include <cstddef>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

inline std::vector<char> bytesOf(const char* hex) {
    std::vector<char> result;
    std::istringstream in(hex);
    unsigned int byte;
    while (in >> std::hex >> byte) {
        result.push_back(static_cast<char>(byte));
    }
    return result;
}

inline std::string hexOf(const void* data, size_t length) {
    std::string text;
    char digits[4];
    for (size_t i = 0; i < length; ++i) {
        std::snprintf(digits, sizeof digits, "%s%02x", i == 0 ? "" : " ",
                      static_cast<const unsigned char*>(data)[i]);
        text += digits;
    }
    return text;
}

#endif
