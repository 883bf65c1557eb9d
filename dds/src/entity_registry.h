// Binding-internal: the topics, publishers and subscribers a participant contains.
#ifndef QOR_DDS_SRC_ENTITY_REGISTRY_H
#define QOR_DDS_SRC_ENTITY_REGISTRY_H

namespace qordds {

struct EntityRegistry {};

}  // namespace qordds

#endif
