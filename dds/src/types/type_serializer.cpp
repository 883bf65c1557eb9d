#include "types/type_serializer.h"

#include <cstring>

#include <fastcdr/Cdr.h>
#include <fastcdr/FastBuffer.h>
#include <fastcdr/exceptions/Exception.h>

#include "qordds/typecode.h"

// Extensibility. The descriptions carry no extensibility kind, so every structure has the
// default one, which XTypes fixes as APPENDABLE for a type without an extensibility
// annotation. In XCDR version 1 an appendable structure is laid out exactly like a final one
// (PLAIN_CDR), so the ping samples on the wire are the bare members. In XCDR version 2 it is
// DELIMITED_CDR2: a DHEADER (the byte count of the members) precedes the members, and the
// encapsulation identifier is D_CDR2_BE / D_CDR2_LE. Reading also accepts PLAIN_CDR2, which a
// peer that declares the type final sends.

namespace qordds {

namespace {

using eprosima::fastcdr::Cdr;
using eprosima::fastcdr::FastBuffer;

const uint32_t kHeaderSize = 4;
const uint32_t kLongSize = 4;
const uint32_t kDheaderSize = 4;

// Encapsulation identifiers, as the first two bytes of a serialized sample (big-endian).
enum : uint16_t {
    CDR_BE = 0x0000,
    CDR_LE = 0x0001,
    CDR2_BE = 0x0006,
    CDR2_LE = 0x0007,
    D_CDR2_BE = 0x0008,
    D_CDR2_LE = 0x0009,
};

bool native_is_big_endian() {
    return __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__;
}

uint16_t encapsulation_id(const CdrLayout& layout) {
    if (!layout.version2) {
        return layout.big_endian ? CDR_BE : CDR_LE;
    }
    if (layout.delimited) {
        return layout.big_endian ? D_CDR2_BE : D_CDR2_LE;
    }
    return layout.big_endian ? CDR2_BE : CDR2_LE;
}

// The layout an encapsulation identifier announces; false for identifiers this serializer
// does not read (parameter lists, XML, anything unknown).
bool layout_of_encapsulation(uint16_t id, bool key_only, CdrLayout* layout) {
    switch (id) {
        case CDR_BE:
        case CDR_LE:
            *layout = {false, false, id == CDR_BE, key_only, true};
            return true;
        case CDR2_BE:
        case CDR2_LE:
            *layout = {true, false, id == CDR2_BE, key_only, true};
            return true;
        case D_CDR2_BE:
        case D_CDR2_LE:
            *layout = {true, true, id == D_CDR2_BE, key_only, true};
            return true;
        default:
            return false;
    }
}

Cdr::Endianness endianness_of(const CdrLayout& layout) {
    return layout.big_endian ? Cdr::BIG_ENDIANNESS : Cdr::LITTLE_ENDIANNESS;
}

bool carries(const DDS_TypeCodeMember& member, bool key_only) {
    return !key_only || member.is_key;
}

// The bytes of the members a layout carries, counted from `origin` (the DHEADER, when there
// is one, comes before them and moves the origin).
bool members_size(const DDS_TypeCode& type, bool key_only, uint32_t origin, uint64_t* size) {
    SerializedSizeCounter counter;
    counter.add(1, origin);
    for (uint32_t i = 0; i < type.member_count; ++i) {
        if (carries(type.members[i], key_only)) {
            counter.add(kLongSize, kLongSize);
        }
    }
    *size = counter.size() - origin;
    return !counter.overflowed();
}

}  // namespace

void SerializedSizeCounter::add(uint32_t alignment, uint32_t size, uint64_t count) {
    if (overflowed_) {
        return;
    }
    if (alignment > 1 && size_ % alignment != 0) {
        size_ += alignment - size_ % alignment;
    }
    uint64_t limit = DDS_SERIALIZED_SIZE_MAX;
    if (size_ > limit || (size != 0 && count > (limit - size_) / size)) {
        overflowed_ = true;
        return;
    }
    size_ += size * count;
}

bool layout_of(const DDS_CdrEncoding& encoding, CdrLayout* layout) {
    bool big_endian = encoding.byte_order == DDS_CDR_NATIVE_BYTE_ORDER
                          ? native_is_big_endian()
                          : encoding.byte_order == DDS_CDR_BIG_ENDIAN;
    switch (encoding.representation) {
        case DDS_AUTO_DATA_REPRESENTATION:
        case DDS_XCDR_DATA_REPRESENTATION:
            *layout = {false, false, big_endian, encoding.key_only, encoding.encapsulation_header};
            return true;
        case DDS_XCDR2_DATA_REPRESENTATION:
            *layout = {true, true, big_endian, encoding.key_only, encoding.encapsulation_header};
            return true;
        default:
            return false;
    }
}

CdrLayout keyhash_layout() {
    return {true, false, true, true, false};
}

bool type_code_is_valid(const DDS_TypeCode* type) {
    if (type == nullptr || type->kind != DDS_TK_STRUCT || type->access_info == nullptr) {
        return false;
    }
    if (type->member_count == 0) {
        return true;
    }
    const DDS_SampleAccessInfo& access = *type->access_info;
    if (type->members == nullptr || access.member_offsets == nullptr) {
        return false;
    }
    for (uint32_t i = 0; i < type->member_count; ++i) {
        if (type->members[i].kind != DDS_TK_LONG || access.sample_size < kLongSize ||
            access.member_offsets[i] > access.sample_size - kLongSize) {
            return false;
        }
    }
    return true;
}

bool serialized_size(const DDS_TypeCode& type, const CdrLayout& layout, uint64_t* size) {
    uint32_t origin = layout.delimited ? kDheaderSize : 0;
    uint64_t members = 0;
    if (!members_size(type, layout.key_only, origin, &members)) {
        return false;
    }
    SerializedSizeCounter counter;
    counter.add(1, (layout.header ? kHeaderSize : 0) + origin);
    counter.add(1, 1, members);
    *size = counter.size();
    return !counter.overflowed();
}

bool write_sample(const DDS_TypeCode& type, const void* sample, const CdrLayout& layout,
                  char* buffer, unsigned int capacity, unsigned int* written) {
    uint64_t members = 0;
    if (layout.delimited && !members_size(type, layout.key_only, kDheaderSize, &members)) {
        return false;
    }
    unsigned int offset = 0;
    if (layout.header) {
        if (capacity < kHeaderSize) {
            return false;
        }
        uint16_t id = encapsulation_id(layout);
        buffer[0] = static_cast<char>(id >> 8);
        buffer[1] = static_cast<char>(id & 0xff);
        buffer[2] = 0;  // options
        buffer[3] = 0;
        offset = kHeaderSize;
    }
    FastBuffer body(buffer + offset, capacity - offset);
    Cdr cdr(body, endianness_of(layout), Cdr::CORBA_CDR);
    try {
        if (layout.delimited) {
            cdr.serialize(static_cast<uint32_t>(members));
        }
        for (uint32_t i = 0; i < type.member_count; ++i) {
            if (carries(type.members[i], layout.key_only)) {
                cdr.serialize(member_value(type, i, sample));
            }
        }
    } catch (const eprosima::fastcdr::exception::Exception&) {
        return false;
    }
    *written = offset + static_cast<unsigned int>(cdr.getSerializedDataLength());
    return true;
}

bool read_member_values(const DDS_TypeCode& type, const char* buffer, unsigned int length,
                        bool key_only, std::vector<int32_t>* values) {
    if (buffer == nullptr || length < kHeaderSize) {
        return false;
    }
    uint16_t id = static_cast<uint16_t>((static_cast<unsigned char>(buffer[0]) << 8) |
                                        static_cast<unsigned char>(buffer[1]));
    CdrLayout layout;
    if (!layout_of_encapsulation(id, key_only, &layout)) {
        return false;
    }
    // Fast CDR only reads through a FastBuffer, which takes a mutable pointer; nothing is
    // written to it.
    FastBuffer body(const_cast<char*>(buffer) + kHeaderSize, length - kHeaderSize);
    Cdr cdr(body, endianness_of(layout), Cdr::CORBA_CDR);
    std::vector<int32_t> read;
    try {
        if (layout.delimited) {
            uint32_t dheader = 0;
            cdr.deserialize(dheader);
            uint64_t expected = 0;
            if (!members_size(type, key_only, kDheaderSize, &expected)) {
                return false;
            }
            // A longer body holds members appended by a newer version of the type, which are
            // skipped; a shorter one cannot hold this type's members.
            if (dheader > length - kHeaderSize - kDheaderSize || dheader < expected) {
                return false;
            }
        }
        for (uint32_t i = 0; i < type.member_count; ++i) {
            if (carries(type.members[i], key_only)) {
                int32_t value = 0;
                cdr.deserialize(value);
                read.push_back(value);
            }
        }
    } catch (const eprosima::fastcdr::exception::Exception&) {
        return false;
    }
    values->swap(read);
    return true;
}

int32_t member_value(const DDS_TypeCode& type, uint32_t index, const void* sample) {
    int32_t value;
    std::memcpy(&value, static_cast<const char*>(sample) + type.access_info->member_offsets[index],
                sizeof value);
    return value;
}

void set_member_value(const DDS_TypeCode& type, uint32_t index, void* sample, int32_t value) {
    std::memcpy(static_cast<char*>(sample) + type.access_info->member_offsets[index], &value,
                sizeof value);
}

}  // namespace qordds

const DDS_CdrEncoding DDS_CDR_ENCODING_DEFAULT = {DDS_AUTO_DATA_REPRESENTATION,
                                                  DDS_CDR_NATIVE_BYTE_ORDER, false, true};

bool DDS_TypeCode_serialize(const DDS_TypeCode* type, const void* sample,
                            const DDS_CdrEncoding& encoding, char* buffer, unsigned int* length) {
    qordds::CdrLayout layout;
    if (!qordds::type_code_is_valid(type) || sample == nullptr || length == nullptr ||
        !qordds::layout_of(encoding, &layout)) {
        return false;
    }
    if (buffer == nullptr) {
        uint64_t size = 0;
        if (!qordds::serialized_size(*type, layout, &size)) {
            return false;
        }
        *length = static_cast<unsigned int>(size);
        return true;
    }
    return qordds::write_sample(*type, sample, layout, buffer, *length, length);
}

bool DDS_TypeCode_deserialize(const DDS_TypeCode* type, void* sample, const char* buffer,
                              unsigned int length, bool key_only) {
    std::vector<int32_t> values;
    if (!qordds::type_code_is_valid(type) || sample == nullptr ||
        !qordds::read_member_values(*type, buffer, length, key_only, &values)) {
        return false;
    }
    size_t next = 0;
    for (uint32_t i = 0; i < type->member_count; ++i) {
        if (!key_only || type->members[i].is_key) {
            qordds::set_member_value(*type, i, sample, values[next++]);
        }
    }
    return true;
}

bool DDS_TypeCode_get_serialized_max_size(const DDS_TypeCode* type, const DDS_CdrEncoding& encoding,
                                          unsigned int* size) {
    qordds::CdrLayout layout;
    uint64_t computed = 0;
    if (!qordds::type_code_is_valid(type) || size == nullptr ||
        !qordds::layout_of(encoding, &layout) ||
        !qordds::serialized_size(*type, layout, &computed)) {
        return false;
    }
    *size = static_cast<unsigned int>(computed);
    return true;
}
