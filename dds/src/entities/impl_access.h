// The binding's way into an entity's implementation. Public headers name their Impl but hand
// it to no one: they befriend ImplAccess, and only code inside the binding (and its white-box
// tests) includes this header.
#ifndef QOR_DDS_ENTITIES_IMPL_ACCESS_H
#define QOR_DDS_ENTITIES_IMPL_ACCESS_H

namespace qordds {

struct ImplAccess {
    template <class Entity>
    static typename Entity::Impl* of(const Entity& entity) {
        return entity.impl_;
    }
};

// The implementation behind a participant, its factory or a topic.
template <class Entity>
typename Entity::Impl* impl_of(const Entity* entity) {
    return ImplAccess::of(*entity);
}

}  // namespace qordds

#endif
