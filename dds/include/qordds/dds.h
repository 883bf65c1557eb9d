// Everything a DDS application of this binding uses.
#ifndef QOR_DDS_DDS_H
#define QOR_DDS_DDS_H

#include "qordds/domain.h"
#include "qordds/listener.h"
#include "qordds/logger.h"
#include "qordds/publication.h"
#include "qordds/qos.h"
#include "qordds/sequence.h"
#include "qordds/status.h"
#include "qordds/string.h"
#include "qordds/subscription.h"
#include "qordds/topic.h"
#include "qordds/type_plugin.h"
#include "qordds/types.h"
#include "qordds/utility.h"
#include "qordds/version.h"

#endif
