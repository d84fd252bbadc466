// OvBgp/Parse/ExtCommAsNumber.h: the two extended communities whose value is
// a global administrator and a local value: an AS number (2- or 4-octet) or
// an IPv4 address. They are what unclaimed subtypes of those types decode
// to, and the bases of route target, route origin, link bandwidth and VRF
// route import; the AS text rules (plain and asdot) live here.
//
//   auto asn = ExtCommAsNumber::ExtCommAsNumberIs( extCommClassificationUnSpecified, content, true );
//   asn->toStrepForPolicy( ExtComm::strepFormatAsdot );  // "65000.100:5"
#pragma once

#include "OvBgp/OvBgpCommunity.h"

namespace Onet {
class IpAddr;
}

namespace Routing::Bgp {

// ExtCommAsNumber: AS number and local administrator; fourByteAs selects
// the 4-octet AS layout (32-bit AS, 16-bit local) over the 2-octet one
// (16-bit AS, 32-bit local).
class ExtCommAsNumber : public ExtCommSubtyped {
 public:
   using Ptr = Kel::Ptr<ExtCommAsNumber>;
   using PtrConst = Kel::Ptr<const ExtCommAsNumber>;

   ExtCommAsNumber( ExtCommClassification classification, const ExtCommContent& content,
                    bool fourByteAs ) noexcept
         : ExtCommSubtyped( classification, content ) {
      userDataIs( userData() | ( fourByteAs ? kFourByteAs : 0 ) );
   }
   static Ptr ExtCommAsNumberIs( ExtCommClassification classification,
                                 const ExtCommContent& content, bool fourByteAs );

   bool fourByteAs() const noexcept { return userData() & kFourByteAs; }
   // asNumber(): bits 47..16 (4-octet) or 47..32 (2-octet).
   U32 asNumber() const noexcept {
      return fourByteAs() ? U32( community() >> 16 ) : U32( ( community() >> 32 ) & 0xFFFF );
   }
   // localAdmin(): bits 15..0 (4-octet) or 31..0 (2-octet).
   U32 localAdmin() const noexcept {
      return fourByteAs() ? U32( community() & 0xFFFF ) : U32( community() );
   }

   // formatAsNumber(): decimal; with asdot a 4-octet AS of 65536 or more is
   // written high.low.
   virtual Kel::String formatAsNumber( bool asdot ) const;
   void formatAsNumberToBuffer( OvFmt::DynamicBufferInterface* buffer, bool asdot ) const;

   void formatDerivedType( std::ostream& os ) const override;
   void appendStrepForPolicy( StrepFormat format,
                              OvFmt::DynamicBufferInterface& out ) const override;

 protected:
   // appendAsAndLocal(): "AS:local" with the asdot flag of format.
   void appendAsAndLocal( StrepFormat format, OvFmt::DynamicBufferInterface& out ) const;
   // appendLabelled(): the policy form of a named kind: "AS:local", after
   // shortLabel with classification, after the layout's UI label with
   // classification and UI.
   void appendLabelled( StrepFormat format, OvFmt::DynamicBufferInterface& out,
                        const char* shortLabel, const char* uiLabel, const char* uiLabelAs4 ) const;
   // formatLabelled(): the debugging form of a named kind: opening (e.g.
   // "<RouteTarget2ByteASN "), "AS:local", the raw value, ">".
   void formatLabelled( std::ostream& os, const char* opening ) const;

 private:
   // The layout lives in the user-data word above the classification, so
   // that the value is no larger than a plain ExtComm.
   static constexpr U32 kFourByteAs = 0x100;
};

// ExtCommIpv4Address: IPv4 address (bits 47..16) and 16-bit local value.
class ExtCommIpv4Address : public ExtCommSubtyped {
 public:
   using Ptr = Kel::Ptr<ExtCommIpv4Address>;
   using PtrConst = Kel::Ptr<const ExtCommIpv4Address>;

   ExtCommIpv4Address( ExtCommClassification classification,
                       const ExtCommContent& content ) noexcept
         : ExtCommSubtyped( classification, content ) {}
   static Ptr ExtCommIpv4AddressIs( ExtCommClassification classification,
                                    const ExtCommContent& content );

   Onet::IpAddr ipv4Address() const noexcept;
   U16 localAdmin() const noexcept { return U16( community() ); }

   void formatDerivedType( std::ostream& os ) const override;
   void appendStrepForPolicy( StrepFormat format,
                              OvFmt::DynamicBufferInterface& out ) const override;

 protected:
   // appendAddressAndLocal(): "a.b.c.d:local".
   void appendAddressAndLocal( OvFmt::DynamicBufferInterface& out ) const;
   // appendLabelled() / formatLabelled(): as for ExtCommAsNumber, with
   // "a.b.c.d:local" and one UI label.
   void appendLabelled( StrepFormat format, OvFmt::DynamicBufferInterface& out,
                        const char* shortLabel, const char* uiLabel ) const;
   void formatLabelled( std::ostream& os, const char* opening ) const;
};

} // namespace Routing::Bgp
