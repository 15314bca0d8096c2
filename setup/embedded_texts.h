#ifndef PARLAVOX_SETUP_EMBEDDED_TEXTS_H_
#define PARLAVOX_SETUP_EMBEDDED_TEXTS_H_

#include <string_view>

namespace parlavox {

// Files of the source tree that the installer carries inside the program: the licence
// (LICENSE) and the program's icon (ui/pictures/parlavox.svg).
extern const std::string_view kLicenceText;
extern const std::string_view kProgramIconSvg;

}  // namespace parlavox

#endif  // PARLAVOX_SETUP_EMBEDDED_TEXTS_H_
