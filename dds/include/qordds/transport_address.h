// Transport addresses: the 16-byte form in which the binding handles IPv4 and IPv6 addresses.
#ifndef QOR_DDS_TRANSPORT_ADDRESS_H
#define QOR_DDS_TRANSPORT_ADDRESS_H

// An address in network byte order. An IPv4 address is 12 zero bytes followed by its four
// bytes; an IPv6 address is its 16 bytes.
struct DDS_TransportAddress_t {
    unsigned char network_ordered_value[16];
};

// Parses a numeric IPv4 ("239.255.0.1") or IPv6 ("ff02::1") address. Never looks a name up:
// anything else, blanks included, fails. Returns 1 on success; otherwise 0 with `address`
// zeroed (when given).
int DDS_TransportAddress_from_string(DDS_TransportAddress_t* address, const char* text);

#endif
