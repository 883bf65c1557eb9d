#include "qordds/transport_address.h"

#include <arpa/inet.h>

#include <cstring>

// inet_pton only ever reads numeric forms, which keeps name resolution (and its delays and
// surprises) out of QoS handling.
int DDS_TransportAddress_from_string(DDS_TransportAddress_t* address, const char* text) {
    if (address == nullptr) {
        return 0;
    }
    std::memset(address->network_ordered_value, 0, sizeof address->network_ordered_value);
    if (text == nullptr) {
        return 0;
    }
    in_addr v4;
    if (inet_pton(AF_INET, text, &v4) == 1) {
        std::memcpy(address->network_ordered_value + 12, &v4, 4);
        return 1;
    }
    in6_addr v6;
    if (inet_pton(AF_INET6, text, &v6) == 1) {
        std::memcpy(address->network_ordered_value, &v6, 16);
        return 1;
    }
    return 0;
}
