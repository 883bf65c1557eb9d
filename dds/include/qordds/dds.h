// Everything a DDS application of this binding uses.
#ifndef QOR_DDS_DDS_H
#define QOR_DDS_DDS_H

#include "dds/domain.h"
#include "dds/listener.h"
#include "dds/logger.h"
#include "dds/publication.h"
#include "dds/qos.h"
#include "dds/sequence.h"
#include "dds/status.h"
#include "dds/string.h"
#include "dds/subscription.h"
#include "dds/topic.h"
#include "dds/type_plugin.h"
#include "dds/types.h"
#include "dds/utility.h"
#include "dds/version.h"

#endif
