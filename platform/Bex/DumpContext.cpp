#include "Bex/DumpContext.h"

#include <cstdio>

namespace Bex {

DumpContext::Ptr DumpContext::DumpContextIs() {
   Ptr ctx = Kel::makeActivePtr<DumpContext>();
   ctx->counted_ = true;
   return ctx;
}

void DumpContext::onZeroReferences() const noexcept {
   if ( counted_ ) {
      PtrInterface::onZeroReferences();
   }
}

void DumpContext::printf( const char* format, ... ) const {
   va_list args;
   va_start( args, format );
   vprintf( format, args );
   va_end( args );
}

void DumpContext::vprintf( const char* format, va_list args ) const {
   va_list again;
   va_copy( again, args );
   char local[ 256 ];
   int needed = std::vsnprintf( local, sizeof local, format, args );
   if ( needed < 0 ) {
      va_end( again );
      return;
   }
   if ( size_t( needed ) < sizeof local ) {
      text_.append( local, size_t( needed ) );
   } else {
      size_t old = text_.size();
      text_.resize( old + size_t( needed ) + 1 );
      std::vsnprintf( text_.data() + old, size_t( needed ) + 1, format, again );
      text_.resize( old + size_t( needed ) );
   }
   va_end( again );
}

} // namespace Bex
