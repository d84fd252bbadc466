#include "tools/bgpcomm/CommunityTables.h"

namespace Bgpcomm {

using namespace Routing::Bgp;

CommunityTables::CommunityTables()
      : container_( bgpParseExtCommContainerSmFactory() ),
        extComm_( extCommDedupTableFactory( container_->extCommParser() ) ),
        extCommIp6_( extCommIp6DedupTableFactory( container_->extCommParser() ) ),
        commList_( commListDedupTableFactory() ),
        largeCommList_( largeCommListDedupTableFactory() ),
        extCommList_( extCommListDedupTableFactory() ),
        extCommIp6List_( extCommIp6ListDedupTableFactory() ) {}

} // namespace Bgpcomm
