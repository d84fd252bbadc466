// Bex/DumpContext.h: where diagnostic dumps write. A printf-style sink that
// collects text; dumpState() functions take it by const reference, since
// writing to it changes nothing of the objects being dumped.
//
//   Bex::DumpContext ctx;  table->dumpState( ctx, 0 );
//   std::cout << ctx.str();
#pragma once

#include <cstdarg>

#include "Kel/Ptr.h"
#include "Kel/String.h"

namespace Bex {

// DumpContext: counted text sink; also usable on the stack. A stack object
// may be lent to code that takes a Ptr: only one made by DumpContextIs() is
// deleted when its last reference goes.
class DumpContext : public Kel::PtrInterface {
 public:
   using Ptr = Kel::Ptr<DumpContext>;
   using PtrConst = Kel::Ptr<const DumpContext>;

   static Ptr DumpContextIs();
   DumpContext() = default;
   // A copy holds the same text and is a stack object until a factory says
   // otherwise.
   DumpContext( const DumpContext& other ) : PtrInterface( other ), text_( other.text_ ) {}
   DumpContext& operator=( const DumpContext& other ) {
      text_ = other.text_;
      return *this;
   }

   // printf(): appends formatted text ("%*c" gives indentation).
   void printf( const char* format, ... ) const __attribute__( ( format( printf, 2, 3 ) ) );
   void vprintf( const char* format, va_list args ) const;

   // str(): everything written so far.
   const Kel::String& str() const noexcept { return text_; }
   void clear() const noexcept { text_.clear(); }

 protected:
   void onZeroReferences() const noexcept override;

 private:
   mutable Kel::String text_;
   bool counted_ = false;
};

} // namespace Bex
