// ProgressBar.h: a one-line bar on standard error for reading big files,
// drawn only when standard error is a terminal; it redraws only when the
// shown tenth of a percent changes.
//
//   ProgressBar bar( "rib.bz2", fileSize );
//   bar.update( bytesRead ); ... bar.finish();
#pragma once

#include "Kel/Types.h"

#include <string>

namespace Bgpcomm {

// ProgressBar
class ProgressBar {
 public:
   // Files smaller than this read too fast to need a bar.
   static constexpr U64 minimumSize = 16ull << 20;

   // wanted(): standard error is a terminal and the input is large.
   static bool wanted( U64 totalSize );

   ProgressBar( std::string label, U64 total ) : label_( std::move( label ) ), total_( total ) {}
   ~ProgressBar() { finish(); }

   // update(): done of total octets.
   void update( U64 done );
   // finish(): clears the line.
   void finish();

 private:
   std::string label_;
   U64 total_;
   int shown_ = -1; // permille on screen
};

} // namespace Bgpcomm
