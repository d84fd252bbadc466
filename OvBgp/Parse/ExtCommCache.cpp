#include "OvBgp/Parse/ExtCommCache.h"

namespace Routing::Bgp::BgpShowCli {

namespace {

Kel::String lookupIn( const std::unordered_map<U64, Kel::String>& map, U64 value ) {
   auto it = map.find( value );
   return it == map.end() ? Kel::String() : it->second;
}

} // namespace

ExtCommCache::Ptr ExtCommCache::ExtCommCacheIs() { return Kel::makeActivePtr<ExtCommCache>(); }

ExtCommCache::Ptr extCommCacheFactory() { return ExtCommCache::ExtCommCacheIs(); }

Kel::String ExtCommCache::lookup( U64 value, bool asdot ) const {
   return lookupIn( asdot ? extCommToAsdotString_ : extCommToString_, value );
}

void ExtCommCache::insert( U64 value, const Kel::String& text, bool asdot ) {
   if ( asdot ) {
      extCommToAsdotStringIs( value, text );
   } else {
      extCommToStringIs( value, text );
   }
}

void ExtCommCache::extCommToStringIs( U64 value, const Kel::String& text ) {
   extCommToString_.insert_or_assign( value, text );
}

void ExtCommCache::extCommToAsdotStringIs( U64 value, const Kel::String& text ) {
   extCommToAsdotString_.insert_or_assign( value, text );
}

void ExtCommCache::extCommToStringDel( U64 value ) { extCommToString_.erase( value ); }

void ExtCommCache::extCommToAsdotStringDel( U64 value ) { extCommToAsdotString_.erase( value ); }

void ExtCommCache::extCommToStringDelAll() { extCommToString_.clear(); }

void ExtCommCache::extCommToAsdotStringDelAll() { extCommToAsdotString_.clear(); }

} // namespace Routing::Bgp::BgpShowCli
