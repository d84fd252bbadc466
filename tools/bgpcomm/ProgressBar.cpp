#include "tools/bgpcomm/ProgressBar.h"

#include <unistd.h>
#include <cstdio>

namespace Bgpcomm {

bool ProgressBar::wanted( U64 totalSize ) {
   return totalSize >= minimumSize && ::isatty( STDERR_FILENO );
}

void ProgressBar::update( U64 done ) {
   if ( total_ == 0 )
      return;
   int permille = int( std::min<U64>( done, total_ ) * 1000 / total_ );
   if ( permille == shown_ )
      return;
   shown_ = permille;
   constexpr int width = 40;
   char bar[ width + 1 ];
   int filled = permille * width / 1000;
   for ( int i = 0; i < width; ++i )
      bar[ i ] = i < filled ? '#' : '.';
   bar[ width ] = 0;
   std::fprintf( stderr, "\r[%s] %3d.%d%% %s", bar, permille / 10, permille % 10, label_.c_str() );
   std::fflush( stderr );
}

void ProgressBar::finish() {
   if ( shown_ < 0 )
      return;
   std::fputs( "\r\033[K", stderr );
   std::fflush( stderr );
   shown_ = -1;
}

} // namespace Bgpcomm
