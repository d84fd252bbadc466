// Origin validation state values: content built from a state, and a text
// shown only in the UI form.
#include "OvBgp/Parse/ExtCommOriginValidationState.h"

#include <gtest/gtest.h>

namespace Routing::Bgp {
namespace {

TEST( ExtCommOriginValidationState, BuildExtCommContentPutsTheStateLast ) {
   for ( auto [ state, content ] : { std::pair( Rpki::originValidationStateValid, 0ull ),
                                     std::pair( Rpki::originValidationStateNotFound, 1ull ),
                                     std::pair( Rpki::originValidationStateInvalid, 2ull ) } ) {
      EXPECT_EQ( ExtCommOriginValidationState::buildExtCommContent( state ).value,
                 0x4300000000000000u | content );
   }
}

TEST( ExtCommOriginValidationState, TextOnlyWithClassificationAndUI ) {
   struct Case {
      U64 content;
      const char* ui;
      const char* debug;
   };
   const Case cases[] = {
      { 0x4300000000000000, "Origin-Validation-State:valid",
        "<OriginValidationState valid 0x4300000000000000>" },
      { 0x4300000000000001, "Origin-Validation-State:not-found",
        "<OriginValidationState not-found 0x4300000000000001>" },
      { 0x4300000000000002, "Origin-Validation-State:invalid",
        "<OriginValidationState invalid 0x4300000000000002>" },
      { 0x4300000000000007, "Origin-Validation-State:unknown",
        "<OriginValidationState unknown(7) 0x4300000000000007>" },
      // Only the last octet is the state.
      { 0x4300000000000100, "Origin-Validation-State:valid",
        "<OriginValidationState valid 0x4300000000000100>" },
   };
   for ( const Case& c : cases ) {
      auto value = extCommOriginValidationStateFactory( ExtCommContent( c.content ) );
      EXPECT_EQ( value->classification(), extCommClassificationOriginValidationState );
      EXPECT_FALSE( value->policyMatchStrepUI() );
      for ( unsigned octet = 0; octet < 64; ++octet ) {
         EXPECT_EQ( value->toStrepForPolicy( ExtComm::StrepFormat( octet ) ),
                    ( octet & 6 ) == 6 ? c.ui : "" )
               << octet;
      }
      EXPECT_EQ( value->toStrep(), c.debug );
   }
}

} // namespace
} // namespace Routing::Bgp
