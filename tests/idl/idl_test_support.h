// Helpers of the generated-code tests: streams over owned buffers and the
// octets they hold.
#pragma once

#include <string>
#include <vector>

#include "cdr_buffer.h"
#include "vurncore/cdr_stream.h"

namespace idltest {

using zeltest::Buffer;
using zeltest::Octets;

}  // namespace idltest
