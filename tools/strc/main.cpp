// bioscfg-strc SOURCE OUTPUT: writes the driver's message catalog file.
#include "tools/strc/catalog_image.h"

#include <cstdio>
#include <string>

int main(int argc, char **argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: bioscfg-strc SOURCE OUTPUT\n");
    return 2;
  }
  std::string Error;
  if (!strc::WriteCatalogFromSource(argv[1], argv[2], Error)) {
    std::fprintf(stderr, "bioscfg-strc: %s\n", Error.c_str());
    return 1;
  }
  return 0;
}
