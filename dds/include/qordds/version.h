// The middleware product version, as the middleware itself reports it.
#ifndef QOR_DDS_VERSION_H
#define QOR_DDS_VERSION_H

struct DDS_ProductVersion_t {
    signed char major;
    signed char minor;
    signed char release;
    signed char revision;
};

DDS_ProductVersion_t DDS_get_product_version();

// The middleware's own version text.
const char* DDS_get_product_version_text();

#endif
