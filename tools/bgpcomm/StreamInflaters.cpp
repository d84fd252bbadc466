// The streaming decompressors: gzip (isa-l's igzip, member after member),
// xz and zstd. One driver pulls input slices and watches for a cut-short
// end; each codec knows only its library.
#include "tools/bgpcomm/Inflater.h"

#include <isa-l/igzip_lib.h>
#include <lzma.h>
#include <zstd.h>

#include <cstring>
#include <string>

namespace Bgpcomm {

namespace {

// Step: what one codec call did.
struct Step {
   size_t produced = 0;
   bool end = false; // the data is over (no more members or frames)
   const char* error = nullptr;
};

// StreamInflater<Codec>: Codec::step( in, inLen, inputEnded, out, outLen )
// consumes from in/inLen, fills out, and says whether the data ended.
template<class Codec>
class StreamInflater final : public Inflater {
 public:
   explicit StreamInflater( RawInput& raw ) : raw_( raw ) {}

   size_t inflate( U8* dest, size_t size ) override {
      if ( !error_.empty() )
         raw_.fail( error_ );
      size_t done = 0;
      while ( done < size && !ended_ ) {
         if ( inLen_ == 0 && !inputEnded_ ) {
            std::span<const U8> s = raw_.next();
            in_ = s.data();
            inLen_ = s.size();
            inputEnded_ = s.empty();
         }
         Step r = codec_.step( in_, inLen_, inputEnded_, dest + done, size - done );
         done += r.produced;
         ended_ = r.end;
         if ( r.error ) {
            error_ = std::string( "corrupt " ) + Codec::name + " data (" + r.error + ")";
         } else if ( !ended_ && inputEnded_ && inLen_ == 0 && r.produced == 0 ) {
            error_ = std::string( Codec::name ) + " data is truncated";
         }
         if ( !error_.empty() ) {
            // What came before the fault is handed out first.
            if ( done == 0 )
               raw_.fail( error_ );
            break;
         }
      }
      return done;
   }

 private:
   RawInput& raw_;
   Codec codec_;
   const U8* in_ = nullptr;
   size_t inLen_ = 0;
   bool inputEnded_ = false;
   bool ended_ = false;
   std::string error_; // reported at the next call
};

const char* isalError( int rc ) {
   switch ( rc ) {
      case ISAL_INVALID_BLOCK:
         return "invalid deflate block";
      case ISAL_INVALID_SYMBOL:
         return "invalid deflate symbol";
      case ISAL_INVALID_LOOKBACK:
         return "distance too far back";
      case ISAL_INVALID_WRAPPER:
         return "invalid gzip header";
      case ISAL_INCORRECT_CHECKSUM:
         return "CRC or length mismatch";
      default:
         return "inflate error";
   }
}

// A file may hold several members back to back (parallel compressors write
// them that way); anything else after a member (padding some writers leave)
// ends the data.
struct GzipCodec {
   static constexpr const char* name = "gzip";
   inflate_state st;
   bool betweenMembers = false;

   GzipCodec() { start(); }

   void start() {
      isal_inflate_init( &st );
      st.crc_flag = ISAL_GZIP;
   }

   Step step( const U8*& in, size_t& inLen, bool inputEnded, U8* out, size_t outLen ) {
      if ( betweenMembers ) {
         if ( inLen == 0 ) {
            return Step{ 0, inputEnded, nullptr };
         }
         // A lone 0x1f at the end of a slice is taken as the next magic;
         // the header check catches it if not.
         if ( in[ 0 ] != 0x1f || ( inLen >= 2 && in[ 1 ] != 0x8b ) ) {
            inLen = 0;
            return Step{ 0, true, nullptr };
         }
         start();
         betweenMembers = false;
      }
      st.next_in = const_cast<U8*>( in );
      st.avail_in = U32( std::min<size_t>( inLen, UINT32_MAX ) );
      st.next_out = out;
      st.avail_out = U32( std::min<size_t>( outLen, UINT32_MAX ) );
      int rc = isal_inflate( &st );
      size_t used = size_t( st.next_in - in );
      in += used;
      inLen -= used;
      Step r{ size_t( st.next_out - out ), false, nullptr };
      if ( rc < 0 ) {
         r.error = isalError( rc );
      } else if ( st.block_state == ISAL_BLOCK_FINISH ) {
         betweenMembers = true;
      }
      return r;
   }
};

struct XzCodec {
   static constexpr const char* name = "xz";
   lzma_stream s = LZMA_STREAM_INIT;
   bool ok;

   XzCodec() { ok = lzma_stream_decoder( &s, UINT64_MAX, LZMA_CONCATENATED ) == LZMA_OK; }
   ~XzCodec() { lzma_end( &s ); }

   Step step( const U8*& in, size_t& inLen, bool inputEnded, U8* out, size_t outLen ) {
      if ( !ok )
         return Step{ 0, false, "decoder set-up failed" };
      s.next_in = in;
      s.avail_in = inLen;
      s.next_out = out;
      s.avail_out = outLen;
      lzma_ret rc = lzma_code( &s, inputEnded ? LZMA_FINISH : LZMA_RUN );
      in = s.next_in;
      inLen = s.avail_in;
      Step r{ size_t( s.next_out - out ), rc == LZMA_STREAM_END, nullptr };
      if ( rc == LZMA_DATA_ERROR || rc == LZMA_FORMAT_ERROR || rc == LZMA_OPTIONS_ERROR ||
           rc == LZMA_MEM_ERROR || rc == LZMA_MEMLIMIT_ERROR || rc == LZMA_PROG_ERROR ) {
         r.error = rc == LZMA_DATA_ERROR ? "bad block or check" : "bad stream";
      }
      return r; // LZMA_BUF_ERROR at the end of the input: the driver says truncated
   }
};

struct ZstdCodec {
   static constexpr const char* name = "zstd";
   ZSTD_DCtx* ctx = ZSTD_createDCtx();
   size_t hint = 1; // 0 once a frame is whole and flushed

   ~ZstdCodec() { ZSTD_freeDCtx( ctx ); }

   Step step( const U8*& in, size_t& inLen, bool inputEnded, U8* out, size_t outLen ) {
      if ( inLen == 0 && inputEnded && hint == 0 )
         return Step{ 0, true, nullptr };
      ZSTD_inBuffer ib{ in, inLen, 0 };
      ZSTD_outBuffer ob{ out, outLen, 0 };
      size_t rc = ZSTD_decompressStream( ctx, &ob, &ib );
      in += ib.pos;
      inLen -= ib.pos;
      Step r{ ob.pos, false, nullptr };
      if ( ZSTD_isError( rc ) ) {
         r.error = ZSTD_getErrorName( rc );
      } else {
         hint = rc;
      }
      return r;
   }
};

} // namespace

const char* compressionName( Compression c ) {
   switch ( c ) {
      case Compression::gzip:
         return "gzip";
      case Compression::bzip2:
         return "bzip2";
      case Compression::xz:
         return "xz";
      case Compression::zstd:
         return "zstd";
      case Compression::none:
         break;
   }
   return "plain";
}

Compression sniffCompression( std::span<const U8> m ) {
   auto startsWith = [ & ]( std::string_view magic ) {
      return m.size() >= magic.size() && std::memcmp( m.data(), magic.data(), magic.size() ) == 0;
   };
   if ( startsWith( "\x1f\x8b" ) )
      return Compression::gzip;
   if ( startsWith( "BZh" ) )
      return Compression::bzip2;
   if ( startsWith( std::string_view( "\xfd"
                                      "7zXZ\0",
                                      6 ) ) )
      return Compression::xz;
   if ( startsWith( "\x28\xb5\x2f\xfd" ) )
      return Compression::zstd;
   return Compression::none;
}

std::unique_ptr<Inflater> makeInflater( Compression c, RawInput& raw, unsigned workers ) {
   switch ( c ) {
      case Compression::gzip:
         return std::make_unique<StreamInflater<GzipCodec>>( raw );
      case Compression::xz:
         return std::make_unique<StreamInflater<XzCodec>>( raw );
      case Compression::zstd:
         return std::make_unique<StreamInflater<ZstdCodec>>( raw );
      case Compression::bzip2:
         return makeBzip2Inflater( raw, workers );
      case Compression::none:
         break;
   }
   return nullptr;
}

} // namespace Bgpcomm
