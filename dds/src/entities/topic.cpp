#include "qordds/topic.h"

#include "entities/topic_impl.h"

DDSTopic::~DDSTopic() {
    delete impl_;
}

const char* DDSTopic::get_name() {
    return impl_->name.c_str();
}

const char* DDSTopic::get_type_name() {
    return impl_->type_name.c_str();
}
