// Binding-internal: the facts of endpoints and participants as Fast DDS holds them, made into
// the binding's plain records and texts.
#ifndef QOR_DDS_SRC_DIAGNOSTICS_FAST_FACTS_H
#define QOR_DDS_SRC_DIAGNOSTICS_FAST_FACTS_H

#include <string>

#include <fastdds/rtps/builtin/data/ReaderProxyData.h>
#include <fastdds/rtps/builtin/data/WriterProxyData.h>
#include <fastdds/rtps/common/Guid.h>
#include <fastdds/rtps/common/Locator.h>
#include <fastdds/dds/publisher/DataWriter.hpp>
#include <fastdds/dds/subscriber/DataReader.hpp>
#include <fastdds/rtps/common/RemoteLocators.hpp>

#include "diagnostics/endpoint_facts.h"

namespace qordds {

EndpointFacts facts_of(const eprosima::fastrtps::rtps::WriterProxyData& remote);
EndpointFacts facts_of(const eprosima::fastrtps::rtps::ReaderProxyData& remote);
EndpointFacts facts_of(const eprosima::fastdds::dds::DataWriter& local);
EndpointFacts facts_of(eprosima::fastdds::dds::DataReader& local);

std::string guid_text(const eprosima::fastrtps::rtps::GUID_t& guid);
std::string prefix_text(const eprosima::fastrtps::rtps::GuidPrefix_t& prefix);
// "UDPv4 10.77.0.2:7410", "UDPv6 [::1]:7411", "SHM port 7411".
std::string locator_text(const eprosima::fastrtps::rtps::Locator_t& locator);
// "unicast UDPv4 10.77.0.2:7410, SHM port 7410; multicast UDPv4 239.255.0.1:7400"
std::string locators_text(const eprosima::fastrtps::rtps::RemoteLocatorList& locators);

}  // namespace qordds

#endif
