// OvBgp/OvBgpCommunityList.h: all the community lists in one include: the
// standard, large, extended and IPv6-address-specific lists, their
// classification lists and snapshots, and the tables that intern them.
//
//   #include "OvBgp/OvBgpCommunityList.h"
//   auto shared = commListFactory()->dedup( commListDedupTableFactory().ptr() );
#pragma once

#include "OvBgp/CommList.h"
#include "OvBgp/CommListDedupTable.h"
#include "OvBgp/ExtCommClassificationList.h"
#include "OvBgp/ExtCommIp6ClassificationList.h"
#include "OvBgp/ExtCommIp6List.h"
#include "OvBgp/ExtCommIp6ListDedupTable.h"
#include "OvBgp/ExtCommList.h"
#include "OvBgp/ExtCommListDedupTable.h"
#include "OvBgp/LargeCommList.h"
