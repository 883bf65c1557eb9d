// Small middleware utilities.
#ifndef QOR_DDS_UTILITY_H
#define QOR_DDS_UTILITY_H

#include "qordds/types.h"

class DDSUtility {
  public:
    // Blocks the calling thread for the duration (an infinite one is refused at once).
    static void sleep(const DDS_Duration_t& duration);
};

#endif
