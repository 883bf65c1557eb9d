// Binding-internal: the pieces of the generic serializer that the key hash and dynamic data
// share with it.
#ifndef QOR_DDS_SRC_TYPE_SERIALIZER_H
#define QOR_DDS_SRC_TYPE_SERIALIZER_H

#include <cstdint>
#include <vector>

#include "qordds/typecode.h"

namespace qordds {

// Adds up aligned fields the way a CDR stream lays them out, offsets counted from the start
// of the body (after the encapsulation header). Once the total passes
// DDS_SERIALIZED_SIZE_MAX it stays overflowed.
class SerializedSizeCounter {
  public:
    void add(uint32_t alignment, uint32_t size, uint64_t count = 1);
    bool overflowed() const { return overflowed_; }
    uint64_t size() const { return size_; }

  private:
    uint64_t size_ = 0;
    bool overflowed_ = false;
};

// One concrete layout of a serialized sample.
struct CdrLayout {
    bool version2;   // XCDR version 2 (else version 1)
    bool delimited;  // a DHEADER precedes the members (XCDR version 2 only)
    bool big_endian;
    bool key_only;
    bool header;  // the 4-byte encapsulation header comes first
};

// The layout that an encoding asks for; false for an unknown representation.
bool layout_of(const DDS_CdrEncoding& encoding, CdrLayout* layout);

// The key hash's source: key members, big-endian XCDR version 2, no header, no DHEADER.
CdrLayout keyhash_layout();

// True when the description is one the serializer can work with.
bool type_code_is_valid(const DDS_TypeCode* type);

// The size of a sample in a layout, or false on overflow.
bool serialized_size(const DDS_TypeCode& type, const CdrLayout& layout, uint64_t* size);

// Serializes into buffer (capacity bytes); stores the bytes written.
bool write_sample(const DDS_TypeCode& type, const void* sample, const CdrLayout& layout,
                  char* buffer, unsigned int capacity, unsigned int* written);

// Reads an encapsulated sample into the values of the members it carries (all members, or
// the key members with key_only), in member order.
bool read_member_values(const DDS_TypeCode& type, const char* buffer, unsigned int length,
                        bool key_only, std::vector<int32_t>* values);

// A member's value in a plain sample, and storing one.
int32_t member_value(const DDS_TypeCode& type, uint32_t index, const void* sample);
void set_member_value(const DDS_TypeCode& type, uint32_t index, void* sample, int32_t value);

}  // namespace qordds

#endif
