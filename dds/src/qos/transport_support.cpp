#include "qordds/transport.h"

#include "entities/impl_access.h"
#include "entities/participant_impl.h"
#include "log/log.h"

namespace {

const char* const set_context = "DDSTransportSupport::set_builtin_transport_property";

bool check_kind(DDS_TransportBuiltinKind kind, const char* context) {
    if (!qordds::is_builtin_transport_kind(kind)) {
        qordds::log(qordds::LogKind::Error, context, "0x%x is not a built-in transport kind",
                    static_cast<unsigned>(kind));
        return false;
    }
    return true;
}

}  // namespace

DDS_ReturnCode_t DDSTransportSupport::get_default_builtin_transport_property(
    DDS_TransportBuiltinKind kind, DDS_BuiltinTransportProperty_t& property) {
    if (!check_kind(kind, "DDSTransportSupport::get_default_builtin_transport_property")) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    property = qordds::default_transport_property(kind);
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSTransportSupport::get_builtin_transport_property(
    DDSDomainParticipant* participant, DDS_TransportBuiltinKind kind,
    DDS_BuiltinTransportProperty_t& property) {
    if (participant == nullptr ||
        !check_kind(kind, "DDSTransportSupport::get_builtin_transport_property")) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    std::lock_guard<std::recursive_mutex> lock(qordds::impl_of(participant)->mutex);
    property = *qordds::impl_of(participant)->transports.property(kind);
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSTransportSupport::set_builtin_transport_property(
    DDSDomainParticipant* participant, DDS_TransportBuiltinKind kind,
    const DDS_BuiltinTransportProperty_t& property) {
    if (participant == nullptr || !check_kind(kind, set_context)) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    if (const char* why = qordds::invalid_transport_property(property)) {
        qordds::log(qordds::LogKind::Error, set_context, "%s", why);
        return DDS_RETCODE_BAD_PARAMETER;
    }
    DDSDomainParticipant::Impl& impl = *qordds::impl_of(participant);
    std::lock_guard<std::recursive_mutex> lock(impl.mutex);
    if (impl.fast->is_enabled()) {
        qordds::log(qordds::LogKind::Error, set_context,
                    "the participant is enabled; its transports can no longer change");
        return DDS_RETCODE_IMMUTABLE_POLICY;
    }
    *impl.transports.property(kind) = property;
    return DDS_RETCODE_OK;
}
