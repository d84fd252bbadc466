// OvBgp/CommunityListEdit.cpp: the edits, once for the four list kinds.
#include "OvBgp/CommunityListEdit.h"

#include <algorithm>

#include "Kel/Exception.h"

namespace Routing::Bgp {

namespace {

constexpr const char* kKindNames[] = { "standard", "large", "extended",
                                       "IPv6-address-specific extended" };

template<class Traits>
bool keyLess( const typename Traits::Value& a, const typename Traits::Value& b ) {
   return Traits::key( a ) < Traits::key( b );
}

// sortedUnique(): values in key order, each key once.
template<class Traits>
std::vector<typename Traits::Value> sortedUnique( std::vector<typename Traits::Value> values ) {
   std::stable_sort( values.begin(), values.end(), keyLess<Traits> );
   values.erase( std::unique( values.begin(), values.end(),
                              []( const auto& a, const auto& b ) {
                                 return !keyLess<Traits>( a, b ) && !keyLess<Traits>( b, a );
                              } ),
                 values.end() );
   return values;
}

} // namespace

template<class List>
CommunityListEdit<List>::CommunityListEdit( Action action, const Kel::Ptr<const Table>& table,
                                            size_t memoBound )
      : RememberingListClause<List>( table, memoBound ), action_( action ) {}

template<class List>
auto CommunityListEdit<List>::addIs( const Kel::Ptr<const Table>& table,
                                     const std::vector<Value>& values, size_t memoBound ) -> Ptr {
   Ptr edit = Kel::makeActivePtr<CommunityListEdit>( actionAdd, table, memoBound );
   edit->values_ = sortedUnique<Traits>( values );
   return edit;
}

template<class List>
auto CommunityListEdit<List>::deleteMatchingIs( const Kel::Ptr<const Table>& table,
                                                const CommunityPattern& pattern, size_t memoBound )
      -> Ptr {
   if ( pattern.kind() != Traits::kind ) {
      throw Kel::ParseException( "pattern", "community pattern '" + pattern.text() + "': a " +
                                                  kKindNames[ pattern.kind() ] +
                                                  " pattern cannot edit a list of " +
                                                  kKindNames[ Traits::kind ] + " communities" );
   }
   Ptr edit = Kel::makeActivePtr<CommunityListEdit>( actionDeleteMatching, table, memoBound );
   edit->pattern_ = pattern;
   return edit;
}

template<class List>
auto CommunityListEdit<List>::keepMatchingIs( const Kel::Ptr<const Table>& table,
                                              const CommunityPattern& pattern, size_t memoBound )
      -> Ptr {
   Ptr edit = deleteMatchingIs( table, pattern, memoBound );
   edit->action_ = actionKeepMatching;
   return edit;
}

template<class List>
auto CommunityListEdit<List>::replaceIs( const Kel::Ptr<const Table>& table,
                                         const std::vector<Value>& values, size_t memoBound )
      -> Ptr {
   Ptr edit = Kel::makeActivePtr<CommunityListEdit>( actionReplace, table, memoBound );
   edit->replacement_ = Traits::intern( table.ptr(), values );
   return edit;
}

template<class List>
auto CommunityListEdit<List>::apply( const ListPtr& list ) const -> ListPtr {
   if ( !list || action_ == actionReplace ) {
      return edit( list );
   }
   Bex::DedupHandle::PtrConst remembered;
   if ( this->memo_.findEdit( list.ptr(), &remembered ) ) {
      return Kel::ptrCast<const List>( std::move( remembered ) );
   }
   ListPtr result = edit( list );
   this->memo_.rememberEdit( list.ptr(), result.ptr() );
   return result;
}

template<class List>
auto CommunityListEdit<List>::edit( const ListPtr& list ) const -> ListPtr {
   static const std::vector<Value> none;
   const std::vector<Value>& members = list ? Traits::members( *list ) : none;
   std::vector<Value> out;
   switch ( action_ ) {
      case actionReplace:
         return replacement_;
      case actionAdd:
         out.reserve( members.size() + values_.size() );
         std::set_union( members.begin(), members.end(), values_.begin(), values_.end(),
                         std::back_inserter( out ), keyLess<Traits> );
         break;
      case actionDeleteMatching:
      case actionKeepMatching: {
         const bool keep = action_ == actionKeepMatching;
         out.reserve( members.size() );
         for ( const Value& value : members ) {
            if ( pattern_->matches( Traits::key( value ) ) == keep ) {
               out.push_back( value );
            }
         }
         break;
      }
   }
   if ( out.size() == members.size() ) {
      return list; // nothing added or removed; null stays null
   }
   return Traits::intern( this->table_.ptr(), out );
}

#define OVBGP_INSTANTIATE_EDIT( List ) template class CommunityListEdit<List>;
OVBGP_FOR_EACH_LIST_KIND( OVBGP_INSTANTIATE_EDIT )

} // namespace Routing::Bgp
