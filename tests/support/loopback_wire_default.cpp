// Linked into the programs of suites that rely on the in-process wire's
// timing: run by hand, outside CTest, they use it too unless ZEL_WIRE says
// otherwise. Where the RTPS wire is not built the in-process one is the
// default already.
#include <cstdlib>

namespace {

#ifndef _WIN32
const int g_loopbackWireByDefault = setenv("ZEL_WIRE", "loopback", 0);
#endif

}  // namespace
