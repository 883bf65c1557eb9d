#include "workarounds/key_only_repair.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <mutex>
#include <utility>

#include <fastdds/rtps/transport/ChainingTransport.h>
#include <fastdds/rtps/transport/ChainingTransportDescriptor.h>
#include <fastdds/rtps/transport/UDPTransportDescriptor.h>

namespace fr = eprosima::fastdds::rtps;

namespace qordds {

namespace {

// RTPS 2.x submessages and parameter ids used here, besides those of the header.
const uint8_t kInfoSrc = 0x0c;
const uint8_t kPad = 0x01;
const uint8_t kInfoTs = 0x09;
const uint16_t kPidSentinel = 0x0001;
const uint16_t kPidKeyHash = 0x0070;
const size_t kHeaderSize = 20;
const size_t kDataFixedPart = 20;  // extra flags, octets to inline QoS, ids, sequence number

// The position `offset` bytes into a message.
template <class Message>
auto at(Message& message, size_t offset) -> decltype(message.begin()) {
    return message.begin() + static_cast<std::ptrdiff_t>(offset);
}

uint16_t read16(const unsigned char* at, bool little) {
    return little ? static_cast<uint16_t>(at[0] | at[1] << 8)
                  : static_cast<uint16_t>(at[0] << 8 | at[1]);
}

void append16(std::vector<unsigned char>& out, uint16_t value, bool little) {
    unsigned char low = static_cast<unsigned char>(value & 0xff);
    unsigned char high = static_cast<unsigned char>(value >> 8);
    out.push_back(little ? low : high);
    out.push_back(little ? high : low);
}

// The DATA submessage in [start, end) as Fast DDS writers send a dispose or unregistration,
// or an empty vector when it is not a repairable key-only DATA.
std::vector<unsigned char> repaired_data(const std::vector<unsigned char>& m, size_t start,
                                         size_t end, const unsigned char prefix[12],
                                         const KeyHasher& hasher) {
    uint8_t flags = m[start + 1];
    bool little = (flags & kRtpsEndiannessFlag) != 0;
    size_t body = start + 4;
    if ((flags & kRtpsKeyFlag) == 0 || (flags & kRtpsDataFlag) != 0 ||
        end - body < kDataFixedPart) {
        return {};
    }
    size_t qos = body + 4 + read16(&m[body + 2], little);
    if (qos > end) {
        return {};
    }
    std::vector<unsigned char> kept_parameters;
    size_t payload = qos;
    if ((flags & kRtpsInlineQosFlag) != 0) {
        for (;;) {
            if (payload + 4 > end) {
                return {};
            }
            uint16_t pid = read16(&m[payload], little);
            uint16_t length = read16(&m[payload + 2], little);
            if (pid == kPidSentinel) {
                payload += 4;
                break;
            }
            if (pid == kPidKeyHash || payload + 4 + length > end) {
                return {};
            }
            kept_parameters.insert(kept_parameters.end(), at(m, payload),
                                   at(m, payload + 4 + length));
            payload += 4 + length;
        }
    }
    if (end - payload < 4) {
        return {};
    }
    unsigned char guid[16];
    std::memcpy(guid, prefix, 12);
    std::memcpy(guid + 12, &m[body + 8], 4);
    unsigned char hash[16];
    if (!hasher(guid, &m[payload], static_cast<uint32_t>(end - payload), hash)) {
        return {};
    }

    std::vector<unsigned char> out;
    out.push_back(kRtpsData);
    out.push_back(static_cast<uint8_t>((flags & kRtpsEndiannessFlag) | kRtpsInlineQosFlag));
    append16(out, 0, little);                             // octets to next header, set below
    out.insert(out.end(), at(m, body), at(m, body + 2));  // extra flags
    append16(out, 16, little);
    out.insert(out.end(), at(m, body + 4), at(m, body + kDataFixedPart));
    out.insert(out.end(), kept_parameters.begin(), kept_parameters.end());
    append16(out, kPidKeyHash, little);
    append16(out, 16, little);
    out.insert(out.end(), hash, hash + 16);
    append16(out, kPidSentinel, little);
    append16(out, 0, little);
    uint16_t length = static_cast<uint16_t>(out.size() - 4);
    out[2] = little ? static_cast<unsigned char>(length & 0xff)
                    : static_cast<unsigned char>(length >> 8);
    out[3] = little ? static_cast<unsigned char>(length >> 8)
                    : static_cast<unsigned char>(length & 0xff);
    return out;
}

typedef std::array<unsigned char, 16> Guid;

struct TrackedWriter {
    bool (*to_keyhash)(DDS_KeyHash_t*, const char*, unsigned int);
    int readers;
};

std::mutex tracked_mutex;
std::map<Guid, TrackedWriter>& tracked_writers() {
    static std::map<Guid, TrackedWriter> writers;
    return writers;
}

Guid guid_of(const DDS_InstanceHandle_t& writer) {
    Guid guid;
    std::memcpy(guid.data(), writer.value, guid.size());
    return guid;
}

struct KeyOnlyRepairDescriptor : public fr::ChainingTransportDescriptor {
    explicit KeyOnlyRepairDescriptor(std::shared_ptr<fr::TransportDescriptorInterface> low_level)
        : fr::ChainingTransportDescriptor(std::move(low_level)) {}
    fr::TransportInterface* create_transport() const override;
};

class KeyOnlyRepairTransport : public fr::ChainingTransport {
  public:
    explicit KeyOnlyRepairTransport(const KeyOnlyRepairDescriptor& descriptor)
        : fr::ChainingTransport(descriptor),
          descriptor_(descriptor),
          hasher_(tracked_writers_hasher()) {}

    fr::TransportDescriptorInterface* get_configuration() override { return &descriptor_; }

    bool send(eprosima::fastrtps::rtps::SenderResource* low_sender_resource,
              const eprosima::fastrtps::rtps::octet* send_buffer, uint32_t send_buffer_size,
              eprosima::fastrtps::rtps::LocatorsIterator* destination_locators_begin,
              eprosima::fastrtps::rtps::LocatorsIterator* destination_locators_end,
              const std::chrono::steady_clock::time_point& timeout) override {
        return low_sender_resource->send(send_buffer, send_buffer_size, destination_locators_begin,
                                         destination_locators_end, timeout);
    }

    void receive(fr::TransportReceiverInterface* next_receiver,
                 const eprosima::fastrtps::rtps::octet* receive_buffer,
                 uint32_t receive_buffer_size,
                 const eprosima::fastrtps::rtps::Locator_t& local_locator,
                 const eprosima::fastrtps::rtps::Locator_t& remote_locator) override {
        if (might_need_repair(receive_buffer, receive_buffer_size)) {
            std::vector<unsigned char> message(receive_buffer,
                                               receive_buffer + receive_buffer_size);
            if (repair_key_only_data(message, hasher_)) {
                next_receiver->OnDataReceived(message.data(), static_cast<uint32_t>(message.size()),
                                              local_locator, remote_locator);
                return;
            }
        }
        next_receiver->OnDataReceived(receive_buffer, receive_buffer_size, local_locator,
                                      remote_locator);
    }

  private:
    // A cheap look for a DATA submessage id with the key flag, before copying anything.
    static bool might_need_repair(const unsigned char* buffer, uint32_t size) {
        for (uint32_t i = kHeaderSize; i + 1 < size; ++i) {
            if (buffer[i] == kRtpsData &&
                (buffer[i + 1] & (kRtpsKeyFlag | kRtpsDataFlag)) == kRtpsKeyFlag) {
                return true;
            }
        }
        return false;
    }

    KeyOnlyRepairDescriptor descriptor_;
    KeyHasher hasher_;
};

fr::TransportInterface* KeyOnlyRepairDescriptor::create_transport() const {
    return new KeyOnlyRepairTransport(*this);
}

}  // namespace

void track_keyed_writer(const DDS_InstanceHandle_t& writer, const DDSTypePlugin& plugin) {
    if (plugin.serialized_key_to_keyhash == nullptr) {
        return;
    }
    std::lock_guard<std::mutex> lock(tracked_mutex);
    TrackedWriter& tracked = tracked_writers()[guid_of(writer)];
    tracked.to_keyhash = plugin.serialized_key_to_keyhash;
    tracked.readers += 1;
}

void untrack_keyed_writer(const DDS_InstanceHandle_t& writer) {
    std::lock_guard<std::mutex> lock(tracked_mutex);
    auto found = tracked_writers().find(guid_of(writer));
    if (found != tracked_writers().end() && --found->second.readers <= 0) {
        tracked_writers().erase(found);
    }
}

KeyHasher tracked_writers_hasher() {
    return [](const unsigned char writer_guid[16], const unsigned char* key, uint32_t length,
              unsigned char hash[16]) {
        Guid guid;
        std::memcpy(guid.data(), writer_guid, guid.size());
        bool (*to_keyhash)(DDS_KeyHash_t*, const char*, unsigned int) = nullptr;
        {
            std::lock_guard<std::mutex> lock(tracked_mutex);
            auto found = tracked_writers().find(guid);
            if (found == tracked_writers().end()) {
                return false;
            }
            to_keyhash = found->second.to_keyhash;
        }
        DDS_KeyHash_t computed;
        if (!to_keyhash(&computed, reinterpret_cast<const char*>(key), length)) {
            return false;
        }
        std::memcpy(hash, computed.value, 16);
        return true;
    };
}

bool walk_submessages(const std::vector<unsigned char>& message,
                      const std::function<void(const RtpsSubmessage&)>& visit, size_t& rest) {
    rest = std::min(kHeaderSize, message.size());
    while (rest + 4 <= message.size()) {
        RtpsSubmessage submessage{message[rest], message[rest + 1], rest, 0};
        uint16_t length = read16(&message[rest + 2], submessage.little());
        bool to_the_end = length == 0 && submessage.id != kPad && submessage.id != kInfoTs;
        submessage.end = to_the_end ? message.size() : rest + 4 + length;
        if (submessage.end > message.size()) {
            return false;
        }
        visit(submessage);
        rest = submessage.end;
    }
    return true;
}

bool repair_key_only_data(std::vector<unsigned char>& message, const KeyHasher& hasher) {
    if (message.size() < kHeaderSize || std::memcmp(message.data(), "RTPS", 4) != 0) {
        return false;
    }
    unsigned char prefix[12];
    std::memcpy(prefix, &message[8], 12);
    std::vector<unsigned char> out(message.begin(), message.begin() + kHeaderSize);
    bool changed = false;
    size_t rest = kHeaderSize;
    bool whole = walk_submessages(
        message,
        [&](const RtpsSubmessage& submessage) {
            size_t body = submessage.start + 4;
            if (submessage.id == kInfoSrc && submessage.end - body >= 20) {
                std::memcpy(prefix, &message[body + 8], 12);
            }
            std::vector<unsigned char> replacement;
            if (submessage.id == kRtpsData) {
                replacement =
                    repaired_data(message, submessage.start, submessage.end, prefix, hasher);
            }
            if (replacement.empty()) {
                out.insert(out.end(), at(message, submessage.start), at(message, submessage.end));
            } else {
                out.insert(out.end(), replacement.begin(), replacement.end());
                changed = true;
            }
        },
        rest);
    if (!whole) {
        return false;
    }
    out.insert(out.end(), at(message, rest), message.end());
    if (changed) {
        message.swap(out);
    }
    return changed;
}

TransportDescriptorList with_key_only_repair(const TransportDescriptorList& descriptors) {
    TransportDescriptorList result;
    for (const auto& descriptor : descriptors) {
        if (std::dynamic_pointer_cast<fr::UDPTransportDescriptor>(descriptor) == nullptr) {
            result.push_back(descriptor);
        } else {
            result.push_back(std::make_shared<KeyOnlyRepairDescriptor>(descriptor));
        }
    }
    return result;
}

}  // namespace qordds
