#ifndef PARLAVOX_SETUP_PACKAGE_H_
#define PARLAVOX_SETUP_PACKAGE_H_

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace parlavox {

// The install package: the files of the payload table back to back, then a trailer of
// one size per row, the checksum (the sum of every payload byte, modulo 2^32) and the
// install marker, all unsigned 32-bit little-endian. The program is row 0 and starts
// the file, so a package is the program itself with the rest appended.

struct PayloadRow {
  // "ProgramFiles" or "DataFiles" puts the file into that subfolder of the program
  // folder; anything else (such as nothing) into the program folder itself.
  std::string_view subfolder;
  std::string_view name;
  bool executable;
};

inline constexpr PayloadRow kPayload[] = {{"", "parlavox", true},
                                          {"", "parlavox-help.html", false}};
// Rows beyond this many are not looked at.
inline constexpr size_t kMaxPayloadRows = 128;

// `bytes` summed as unsigned 8-bit values onto `sum`, modulo 2^32.
uint32_t ByteSum(std::string_view bytes, uint32_t sum = 0);

// Writes `package` from `files`, one per payload row in order. False when a file can't
// be read or the package can't be written.
bool WritePackage(std::span<const std::string> files, const std::string& package);

// Where a row is extracted to.
std::string PayloadTarget(const std::string& program_folder, const PayloadRow& row);

// What extracting a package shows and asks while it works.
class ExtractionProgress {
 public:
  virtual ~ExtractionProgress() = default;
  // The file now being extracted.
  virtual void Extracting(std::string_view file_name) = 0;
  // Bytes done of all, as a whole percentage (truncated).
  virtual void Percent(int percent) = 0;
  // Whether the person has asked to stop; looked at after each piece.
  virtual bool Cancelled() = 0;
};

enum class Extraction {
  kDone,        // every file extracted and the checksum holds
  kCancelled,   // stopped on request: later rows are left alone
  kUnreadable,  // the package can't be opened or read
  kCorrupt,     // the sizes don't fit the file, or the checksum does not hold
};

// Extracts the payload of `package` into `program_folder` (which must exist), in
// pieces of at most 4096 bytes. A target that can't be made is skipped, its bytes
// still counted. Files already extracted stay when the checksum fails; sizes that
// don't fit the package are found before anything is written.
Extraction ExtractPayload(const std::string& package, const std::string& program_folder,
                          std::span<const PayloadRow> rows, ExtractionProgress& progress);
// Reads the whole payload and checks its sizes and checksum, writing nothing: a damaged
// package is found before anything installed is touched.
Extraction VerifyPayload(const std::string& package, std::span<const PayloadRow> rows);

}  // namespace parlavox

#endif  // PARLAVOX_SETUP_PACKAGE_H_
