#include "KelStow/StoreManager.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace KelStow {

namespace {

constexpr char kMagic[ 8 ] = { 'K', 'E', 'L', 'S', 'T', 'O', 'W', '1' };
constexpr U32 kFormatVersion = 1;

struct Header {
   char magic[ 8 ];
   U32 formatVersion;
   U32 reserved;
   U64 used;
   U64 root;
};

std::string errnoText( const std::string& what, const std::string& path ) {
   return what + " '" + path + "': " + std::strerror( errno );
}

Header* headerOf( char* base ) { return reinterpret_cast<Header*>( base ); }

std::string tagText( U32 tag ) {
   std::string text;
   for ( int shift = 24; shift >= 0; shift -= 8 ) {
      char c = char( tag >> shift );
      text += ( c >= 32 && c < 127 ) ? c : '?';
   }
   return text;
}

} // namespace

StoreManager::StoreManager( Token, int fd, char* base, size_t capacity, std::string path )
      : fd_( fd ), base_( base ), capacity_( capacity ), path_( std::move( path ) ) {}

StoreManager::~StoreManager() {
   if ( fd_ >= 0 ) {
      munmap( base_, capacity_ );
      close( fd_ );
   } else {
      std::free( base_ );
   }
}

StoreManager::Ptr StoreManager::inMemory( size_t initialCapacity ) {
   const size_t capacity = std::max( initialCapacity, sizeof( Header ) );
   char* base = static_cast<char*>( std::calloc( capacity, 1 ) );
   if ( !base ) {
      throw std::bad_alloc();
   }
   std::memcpy( headerOf( base )->magic, kMagic, sizeof kMagic );
   headerOf( base )->formatVersion = kFormatVersion;
   headerOf( base )->used = sizeof( Header );
   return Kel::makeActivePtr<StoreManager>( Token(), -1, base, capacity, "" );
}

StoreManager::Ptr StoreManager::createFile( const std::string& path, size_t initialCapacity ) {
   int fd = open( path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644 );
   if ( fd < 0 ) {
      throw StoreException( errnoText( "cannot create store", path ) );
   }
   const size_t capacity = std::max( initialCapacity, size_t( 4096 ) );
   if ( ftruncate( fd, off_t( capacity ) ) != 0 ) {
      close( fd );
      throw StoreException( errnoText( "cannot size store", path ) );
   }
   void* map = mmap( nullptr, capacity, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0 );
   if ( map == MAP_FAILED ) {
      close( fd );
      throw StoreException( errnoText( "cannot map store", path ) );
   }
   char* base = static_cast<char*>( map );
   std::memcpy( headerOf( base )->magic, kMagic, sizeof kMagic );
   headerOf( base )->formatVersion = kFormatVersion;
   headerOf( base )->used = sizeof( Header );
   return Kel::makeActivePtr<StoreManager>( Token(), fd, base, capacity, path );
}

StoreManager::Ptr StoreManager::openFile( const std::string& path ) {
   int fd = open( path.c_str(), O_RDWR | O_CLOEXEC );
   if ( fd < 0 ) {
      throw StoreException( errnoText( "cannot open store", path ) );
   }
   struct stat st;
   if ( fstat( fd, &st ) != 0 ) {
      close( fd );
      throw StoreException( errnoText( "cannot stat store", path ) );
   }
   const size_t size = size_t( st.st_size );
   if ( size < sizeof( Header ) ) {
      close( fd );
      throw StoreException( "store '" + path + "' is truncated: " + std::to_string( size ) +
                            " octets, less than its header" );
   }
   void* map = mmap( nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0 );
   if ( map == MAP_FAILED ) {
      close( fd );
      throw StoreException( errnoText( "cannot map store", path ) );
   }
   char* base = static_cast<char*>( map );
   const Header* header = headerOf( base );
   std::string problem;
   if ( std::memcmp( header->magic, kMagic, sizeof kMagic ) != 0 ) {
      problem = "is not a store (bad magic)";
   } else if ( header->formatVersion != kFormatVersion ) {
      problem = "has format version " + std::to_string( header->formatVersion ) + ", expected " +
                std::to_string( kFormatVersion );
   } else if ( header->used < sizeof( Header ) || header->used > size ) {
      problem = "is truncated: its header claims " + std::to_string( header->used ) +
                " octets, the file has " + std::to_string( size );
   } else if ( header->root >= header->used ) {
      problem = "has a root offset beyond its used area";
   }
   if ( !problem.empty() ) {
      munmap( map, size );
      close( fd );
      throw StoreException( "store '" + path + "' " + problem );
   }
   return Kel::makeActivePtr<StoreManager>( Token(), fd, base, size, path );
}

void StoreManager::reserveCapacity( size_t needed ) {
   if ( needed <= capacity_ ) {
      return;
   }
   size_t capacity = std::max( needed, capacity_ * 2 );
   if ( fd_ < 0 ) {
      char* grown = static_cast<char*>( std::realloc( base_, capacity ) );
      if ( !grown ) {
         throw std::bad_alloc();
      }
      std::memset( grown + capacity_, 0, capacity - capacity_ );
      base_ = grown;
   } else {
      if ( ftruncate( fd_, off_t( capacity ) ) != 0 ) {
         throw StoreException( errnoText( "cannot grow store", path_ ) );
      }
      void* map = mremap( base_, capacity_, capacity, MREMAP_MAYMOVE );
      if ( map == MAP_FAILED ) {
         throw StoreException( errnoText( "cannot remap store", path_ ) );
      }
      base_ = static_cast<char*>( map );
   }
   capacity_ = capacity;
}

U64 StoreManager::allocate( size_t bytes, size_t align ) {
   if ( align == 0 || ( align & ( align - 1 ) ) != 0 ) {
      throw StoreException( "allocation alignment " + std::to_string( align ) +
                            " is not a power of two" );
   }
   U64 offset = headerOf( base_ )->used;
   offset = ( offset + align - 1 ) & ~U64( align - 1 );
   // A size read from a damaged record must not wrap around.
   if ( bytes > ( size_t( 1 ) << 48 ) ) {
      throw StoreException( "allocation of " + std::to_string( bytes ) + " octets is too large" );
   }
   reserveCapacity( size_t( offset ) + bytes );
   std::memset( base_ + offset, 0, bytes );
   headerOf( base_ )->used = offset + bytes;
   return offset;
}

void* StoreManager::translate( U64 offset, size_t bytes ) {
   return const_cast<void*>( static_cast<const StoreManager*>( this )->translate( offset, bytes ) );
}

const void* StoreManager::translate( U64 offset, size_t bytes ) const {
   const U64 used = headerOf( base_ )->used;
   if ( offset < sizeof( Header ) || offset > used || bytes > used - offset ) {
      throw StoreException( "offset " + std::to_string( offset ) + " (+" + std::to_string( bytes ) +
                            ") lies outside the store's " + std::to_string( used ) +
                            " used octets" );
   }
   return base_ + offset;
}

U64 StoreManager::offsetOf( const void* address ) const {
   const char* p = static_cast<const char*>( address );
   if ( p < base_ + sizeof( Header ) || p >= base_ + headerOf( base_ )->used ) {
      throw StoreException( "address does not lie inside the store" );
   }
   return U64( p - base_ );
}

U64 StoreManager::stowRecord( U32 tag, U16 version, size_t recordBytes ) {
   const U64 offset = allocate( std::max( recordBytes, sizeof( Anchor ) ), 8 );
   auto* anchor = static_cast<Anchor*>( translate( offset, sizeof( Anchor ) ) );
   anchor->tag = tag;
   anchor->version = version;
   return offset;
}

const void* StoreManager::checkedRecord( U64 offset, U32 tag, U16 version,
                                         size_t recordBytes ) const {
   if ( offset % alignof( Anchor ) != 0 ) {
      throw StoreException( "record at offset " + std::to_string( offset ) + " is misaligned" );
   }
   const std::string expected = "record at offset " + std::to_string( offset ) +
                                ": expected anchor " + tagText( tag ) + " v" +
                                std::to_string( version );
   const U64 used = headerOf( base_ )->used;
   const size_t bytes = std::max( recordBytes, sizeof( Anchor ) );
   if ( offset < sizeof( Header ) || offset > used || bytes > used - offset ) {
      const U64 left = offset < sizeof( Header ) || offset > used ? 0 : used - offset;
      throw StoreException( expected + " and " + std::to_string( bytes ) + " octets, found " +
                            ( left ? "only " + std::to_string( left ) : std::string( "none" ) ) +
                            " inside the store's " + std::to_string( used ) + " used octets" );
   }
   const char* record = base_ + offset;
   const auto* anchor = reinterpret_cast<const Anchor*>( record );
   if ( anchor->tag != tag || anchor->version != version ) {
      throw StoreException( expected + ", found " + tagText( anchor->tag ) + " v" +
                            std::to_string( anchor->version ) );
   }
   return record;
}

void StoreManager::rootIs( U64 offset ) { headerOf( base_ )->root = offset; }
U64 StoreManager::root() const { return headerOf( base_ )->root; }
U64 StoreManager::used() const { return headerOf( base_ )->used; }

void StoreManager::sync() {
   if ( fd_ >= 0 && msync( base_, capacity_, MS_SYNC ) != 0 ) {
      throw StoreException( errnoText( "cannot sync store", path_ ) );
   }
}

} // namespace KelStow
