#include "Routing/Bgp/OvBgpGlobals.h"

#include <atomic>

namespace Routing::Bgp {

namespace {

// Constant-initialised, so it is valid before any static constructor runs.
constinit std::atomic<bool> multiThreaded_{ false };

} // namespace

bool OvBgpGlobals::multiThreaded() { return multiThreaded_.load(); }

void OvBgpGlobals::multiThreadedIs( bool multiThreaded ) { multiThreaded_.store( multiThreaded ); }

} // namespace Routing::Bgp
