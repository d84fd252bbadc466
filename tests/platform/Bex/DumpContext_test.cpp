#include "Bex/DumpContext.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Bex::DumpContext;

TEST( DumpContext, CollectsFormattedTextIncludingPaddedIndentation ) {
   DumpContext ctx;
   ctx.printf( "%*cExtCommListDedupTable\n", 2, ' ' );
   ctx.printf( "%*cextComm #%u;\n", 4, ' ', 7u );
   ctx.printf( "%s", "" );
   EXPECT_EQ( "  ExtCommListDedupTable\n    extComm #7;\n", ctx.str() );
   // Longer than any internal buffer: nothing is cut.
   std::string big( 5000, 'x' );
   ctx.printf( "[%s]", big.c_str() );
   EXPECT_EQ( "[" + big + "]", ctx.str().substr( ctx.str().size() - 5002 ) );
   ctx.clear();
   EXPECT_EQ( "", ctx.str() );
}

TEST( DumpContext, CountedAndStackObjectsBothWorkThroughPtr ) {
   DumpContext::Ptr counted = DumpContext::DumpContextIs();
   counted->printf( "%d", 42 );
   DumpContext::PtrConst alias = counted;
   EXPECT_EQ( 2u, counted->refCount() );
   EXPECT_EQ( "42", alias->str() );
   // A stack object lent through a Ptr is not deleted when the Ptr goes.
   DumpContext onStack;
   {
      DumpContext::PtrConst lent( &onStack );
      lent->printf( "%c", 'z' );
   }
   EXPECT_EQ( 0u, onStack.refCount() );
   EXPECT_EQ( "z", onStack.str() );
}

} // namespace
