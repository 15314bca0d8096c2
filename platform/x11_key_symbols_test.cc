#include "platform/x11_key_symbols.h"

#include <gtest/gtest.h>

#include "words/key_names.h"

namespace parlavox {
namespace {

TEST(KeySymbolTest, EveryAssignableKeyMapsToAnXSymbolAndBack) {
  int mapped = 0;
  for (uint32_t key = 1; key < 256; ++key) {
    const std::optional<unsigned long> symbol = KeySymbolOf(key);
    if (!symbol) continue;
    ++mapped;
    EXPECT_EQ(VirtualKeyOfSymbol(*symbol), key) << key;
    EXPECT_FALSE(KeyName(key).empty()) << key;  // and every one of them has a name
  }
  EXPECT_EQ(mapped, 26 + 10 + 10 + 24 + 42);
  EXPECT_EQ(KeySymbolOf(0x78), 0xFFC6ul);             // F9
  EXPECT_EQ(VirtualKeyOfSymbol('Q'), uint32_t('Q'));  // either case of a letter
  EXPECT_EQ(VirtualKeyOfSymbol(0x10000ul), std::nullopt);
  EXPECT_EQ(VirtualKeyOfSymbol(0x1008FE09ul), 0x78u);  // Ctrl+Alt+F9 as a console switch
}

}  // namespace
}  // namespace parlavox
