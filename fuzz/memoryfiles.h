#pragma once

#include <string>

namespace fuzzkit {

/// What the last save wrote, in a harness with memoryfiles.cpp; after the save has ended.
const std::string& written();

} // namespace fuzzkit
