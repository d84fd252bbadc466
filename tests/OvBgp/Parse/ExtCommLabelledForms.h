// tests/OvBgp/Parse/ExtCommLabelledForms.h: a checker for the kinds that
// print their three layouts (2-octet AS, 4-octet AS, IPv4 address) behind a
// short label and per-layout UI labels, e.g. route targets and route origins.
//
//   expectLabelledForms( cases, extCommClassificationRouteTarget, "RT:" );
#pragma once

#include <gtest/gtest.h>

#include "OvBgp/OvBgpCommunity.h"

namespace Routing::Bgp {

// LabelledFormsCase: one value, its UI label, its plain and asdot texts and
// its debugging form.
struct LabelledFormsCase {
   ExtComm::Ptr value;
   const char* label;
   const char* plain;
   const char* dotted;
   const char* debug;
};

// expectLabelledForms(): all 64 format combinations of every case. Of the
// six flags only classification, UI and asdot change the text:
// classification alone prefixes shortLabel, with UI the layout's label; UI
// alone changes nothing.
template<size_t N>
void expectLabelledForms( const LabelledFormsCase ( &cases )[ N ],
                          ExtCommClassification classification, const char* shortLabel ) {
   for ( const LabelledFormsCase& c : cases ) {
      EXPECT_EQ( c.value->classification(), classification );
      EXPECT_TRUE( c.value->hasNotificationActive() );
      EXPECT_FALSE( c.value->policyMatchStrepUI() );
      for ( unsigned octet = 0; octet < 64; ++octet ) {
         const char* prefix = !( octet & 2 ) ? "" : ( octet & 4 ) ? c.label : shortLabel;
         EXPECT_EQ( c.value->toStrepForPolicy( ExtComm::StrepFormat( octet ) ),
                    Kel::String( prefix ) + ( octet & 16 ? c.dotted : c.plain ) )
               << c.debug << " format " << octet;
      }
      EXPECT_EQ( c.value->toStrep(), c.debug );
   }
}

} // namespace Routing::Bgp
