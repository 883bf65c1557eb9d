#include "qordds/listener.h"

#include "entities/listener_slot.h"

// Here rather than in ~DDSListener: once this body has run, a call through the object would
// no longer reach even these classes' empty callbacks.
DDSDataWriterListener::~DDSDataWriterListener() {
    qordds::detach_listener_everywhere(this);
}

DDSDataReaderListener::~DDSDataReaderListener() {
    qordds::detach_listener_everywhere(this);
}
