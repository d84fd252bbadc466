// OvBgp/Parse/ExtComm.h: everything that turns raw extended-community octets
// into typed values, in one include: the rule tables and their registry, the
// plug-in base, the parser container, the AS-number and IPv4-address value
// bases, and the display-text cache of the show commands.
//
//   auto container = bgpParseExtCommContainerSmFactory();
//   ExtComm::PtrConst value = container->extCommParser()->parseExtendedCommunity( content );
#pragma once

#include "OvBgp/Parse/ExtCommAsNumber.h"
#include "OvBgp/Parse/ExtCommCache.h"
#include "OvBgp/Parse/ExtCommContainer.h"
#include "OvBgp/Parse/ExtCommPluginBase.h"
#include "OvBgp/Parse/ExtCommRules.h"
