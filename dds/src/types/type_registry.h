// Binding-internal: the sample types registered with a participant, by name.
#ifndef QOR_DDS_SRC_TYPE_REGISTRY_H
#define QOR_DDS_SRC_TYPE_REGISTRY_H

#include <map>
#include <memory>
#include <string>

#include <fastdds/dds/topic/TypeSupport.hpp>

#include "qordds/type_plugin.h"

namespace qordds {

// One registered name.
struct RegisteredType {
    // The participant's copy of the plugin record; its type_support is the kept type support
    // below, or null when the participant was not asked to keep one.
    DDSTypePlugin plugin;
    std::unique_ptr<DDSTypeSupport> type_support;
    // The same type as registered under the same name with the Fast DDS participant.
    eprosima::fastdds::dds::TypeSupport fast_type;
};

// Callers hold the participant's mutex; a null name finds nothing. An entry stays where it is until
// its name is unregistered, which Fast DDS refuses while a topic uses the type.
class TypeRegistry {
  public:
    const RegisteredType* find(const char* type_name) const {
        if (type_name == nullptr) {
            return nullptr;
        }
        auto found = types_.find(type_name);
        return found == types_.end() ? nullptr : found->second.get();
    }
    RegisteredType* find(const char* type_name) {
        if (type_name == nullptr) {
            return nullptr;
        }
        auto found = types_.find(type_name);
        return found == types_.end() ? nullptr : found->second.get();
    }
    void add(const char* type_name, std::unique_ptr<RegisteredType> type) {
        types_[type_name] = std::move(type);
    }
    void remove(const char* type_name) { types_.erase(type_name); }

  private:
    std::map<std::string, std::unique_ptr<RegisteredType>> types_;
};

}  // namespace qordds

#endif
