// bgpcomm: decode communities, read MRT dumps, generate synthetic ones.
#include "tools/bgpcomm/Commands.h"

int main( int argc, char** argv ) { return Bgpcomm::runBgpcomm( argc, argv, stdout, stderr ); }
