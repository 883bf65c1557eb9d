#include <cstring>
#include <exception>
#include <memory>
#include <new>

#include "entities/participant_impl.h"
#include "log/log.h"
#include "qordds/domain.h"
#include "types/topic_data_type_adapter.h"

namespace {

// Records made by two calls of one type's plugin constructor are the same plugin.
bool same_plugin(const DDSTypePlugin& a, const DDSTypePlugin& b) {
    return DDS_TypePlugin_is_type(&a, b.type_name) && a.key_kind == b.key_kind &&
           a.type_code == b.type_code && a.create_sample == b.create_sample &&
           a.destroy_sample == b.destroy_sample && a.serialize == b.serialize &&
           a.deserialize == b.deserialize && a.instance_to_keyhash == b.instance_to_keyhash;
}

// What the Fast DDS adapter and the endpoints call without checking.
bool plugin_is_complete(const DDSTypePlugin& plugin) {
    bool keyed = plugin.key_kind != DDS_TYPEPLUGIN_NO_KEY;
    return plugin.type_name != nullptr && plugin.create_sample != nullptr &&
           plugin.destroy_sample != nullptr && plugin.copy_sample != nullptr &&
           plugin.serialize != nullptr && plugin.deserialize != nullptr &&
           plugin.get_serialized_sample_max_size != nullptr &&
           (!keyed ||
            (plugin.instance_to_keyhash != nullptr && plugin.serialized_key_to_keyhash != nullptr));
}

DDS_ReturnCode_t register_with_fast_dds(eprosima::fastdds::dds::DomainParticipant* fast,
                                        const eprosima::fastdds::dds::TypeSupport& type,
                                        const char* type_name) {
    try {
        return static_cast<DDS_ReturnCode_t>(fast->register_type(type, type_name)());
    } catch (const std::exception& e) {
        qordds::log(qordds::LogKind::Error, "DDSDomainParticipant::register_type", "%s", e.what());
        return DDS_RETCODE_ERROR;
    }
}

}  // namespace

bool DDSDomainParticipant::is_type_registered(const char* type_name) {
    if (type_name == nullptr) {
        return false;
    }
    std::lock_guard<std::recursive_mutex> lock(impl_->mutex);
    return impl_->types.find(type_name) != nullptr;
}

DDS_ReturnCode_t DDSDomainParticipant::register_type(const char* type_name,
                                                     const DDSTypePlugin& plugin,
                                                     bool keep_type_support) {
    const char* context = "DDSDomainParticipant::register_type";
    if (type_name == nullptr || type_name[0] == '\0' || !plugin_is_complete(plugin)) {
        qordds::log(qordds::LogKind::Error, context, "bad parameter: %s",
                    type_name == nullptr || type_name[0] == '\0' ? "type_name" : "plugin");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    std::lock_guard<std::recursive_mutex> lock(impl_->mutex);
    if (qordds::RegisteredType* existing = impl_->types.find(type_name)) {
        if (!same_plugin(existing->plugin, plugin)) {
            qordds::log(qordds::LogKind::Error, context, "\"%s\" is registered with type %s",
                        type_name, existing->plugin.type_name);
            return DDS_RETCODE_PRECONDITION_NOT_MET;
        }
        // The participant was handed a type support it does not need: the first one stays.
        if (keep_type_support && plugin.type_support != existing->plugin.type_support) {
            delete plugin.type_support;
        }
        return DDS_RETCODE_OK;
    }
    if (impl_->fast == nullptr) {
        qordds::log(qordds::LogKind::Error, context, "participant not created");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    std::unique_ptr<qordds::RegisteredType> entry(new (std::nothrow) qordds::RegisteredType);
    auto* adapter = new (std::nothrow) qordds::TopicDataTypeAdapter(type_name, plugin);
    if (entry == nullptr || adapter == nullptr) {
        delete adapter;
        qordds::log(qordds::LogKind::Error, context, "out of memory");
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
    entry->fast_type.reset(adapter);
    DDS_ReturnCode_t result = register_with_fast_dds(impl_->fast, entry->fast_type, type_name);
    if (result != DDS_RETCODE_OK) {
        qordds::log(qordds::LogKind::Error, context, "Fast DDS refused \"%s\" (%d)", type_name,
                    result);
        return result;
    }
    entry->plugin = plugin;
    entry->plugin.type_support = keep_type_support ? plugin.type_support : nullptr;
    entry->type_support.reset(entry->plugin.type_support);
    impl_->types.add(type_name, std::move(entry));
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDomainParticipant::unregister_type(const char* type_name) {
    const char* context = "DDSDomainParticipant::unregister_type";
    if (type_name == nullptr) {
        qordds::log(qordds::LogKind::Error, context, "bad parameter: type_name");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    std::lock_guard<std::recursive_mutex> lock(impl_->mutex);
    if (impl_->types.find(type_name) == nullptr || impl_->fast == nullptr) {
        qordds::log(qordds::LogKind::Error, context, "\"%s\" is not registered", type_name);
        return DDS_RETCODE_BAD_PARAMETER;
    }
    DDS_ReturnCode_t result;
    try {
        result = static_cast<DDS_ReturnCode_t>(impl_->fast->unregister_type(type_name)());
    } catch (const std::exception& e) {
        qordds::log(qordds::LogKind::Error, context, "%s", e.what());
        return DDS_RETCODE_ERROR;
    }
    if (result != DDS_RETCODE_OK) {
        qordds::log(qordds::LogKind::Error, context, "Fast DDS keeps \"%s\" (%d)", type_name,
                    result);
        return result;
    }
    impl_->types.remove(type_name);
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDomainParticipant::lock() {
    impl_->mutex.lock();
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDomainParticipant::unlock() {
    impl_->mutex.unlock();
    return DDS_RETCODE_OK;
}
