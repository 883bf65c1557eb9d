// Middleware strings: NUL-terminated, heap-allocated, released only with DDS_String_free.
#ifndef QOR_DDS_STRING_H
#define QOR_DDS_STRING_H

#include <cstddef>

// A string of `length` characters plus the terminator, all NUL; null when out of memory.
char* DDS_String_alloc(size_t length);

// A copy of `text`; null for a null `text` or when out of memory.
char* DDS_String_dup(const char* text);

// Replaces *string with a copy of `text` (freeing the old one) and returns the new value.
char* DDS_String_replace(char** string, const char* text);

// Releases a string from the functions above; null is accepted.
void DDS_String_free(char* string);

#endif
