// Binding-internal: the topics, publishers and subscribers a participant contains.
#ifndef QOR_DDS_SRC_ENTITY_REGISTRY_H
#define QOR_DDS_SRC_ENTITY_REGISTRY_H

#include <algorithm>
#include <vector>

class DDSPublisher;
class DDSSubscriber;
class DDSTopic;

namespace qordds {

// In creation order. Callers hold the participant's mutex.
struct EntityRegistry {
    std::vector<DDSTopic*> topics;
    std::vector<DDSPublisher*> publishers;
    std::vector<DDSSubscriber*> subscribers;
};

template <class T>
bool contains(const std::vector<T*>& list, const T* entity) {
    return entity != nullptr && std::find(list.begin(), list.end(), entity) != list.end();
}

template <class T>
void remove(std::vector<T*>& list, const T* entity) {
    list.erase(std::remove(list.begin(), list.end(), entity), list.end());
}

}  // namespace qordds

#endif
