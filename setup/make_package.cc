// parlavox_make_package: writes the install package from the files of the payload
// table, for the build.
//
//   parlavox_make_package PACKAGE PROGRAM HELP

#include <sys/stat.h>

#include <cstdio>
#include <string>
#include <vector>

#include "setup/package.h"

int main(int argc, char** argv) {
  using namespace parlavox;
  if (argc != 2 + static_cast<int>(std::size(kPayload))) {
    std::fprintf(stderr, "usage: %s PACKAGE PROGRAM HELP\n", argv[0]);
    return 2;
  }
  const std::vector<std::string> files(argv + 2, argv + argc);
  if (!WritePackage(files, argv[1]) || chmod(argv[1], 0755) != 0) {
    std::fprintf(stderr, "%s: could not write %s\n", argv[0], argv[1]);
    return 1;
  }
  return 0;
}
