// Binding-internal: the sample types registered with a participant, by name.
#ifndef QOR_DDS_SRC_TYPE_REGISTRY_H
#define QOR_DDS_SRC_TYPE_REGISTRY_H

namespace qordds {

struct TypeRegistry {};

}  // namespace qordds

#endif
