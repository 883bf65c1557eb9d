#include "dds/topic.h"

// Placeholder until endpoints land.

DDSTopic::~DDSTopic() {}
const char* DDSTopic::get_name() {
    return "";
}
const char* DDSTopic::get_type_name() {
    return "";
}
