#include "model/uuid.h"

#include <gtest/gtest.h>
#include <set>
#include <string>

namespace brindlemux {
namespace {

constexpr UUID sample = {
    {0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF}};

TEST(UUID, textIsUpperCaseWithHyphens) { EXPECT_EQ(sample.string(), "00112233-4455-6677-8899-AABBCCDDEEFF"); }

TEST(UUID, parseReadsEitherCase) {
  EXPECT_EQ(UUID::parse("00112233-4455-6677-8899-AABBCCDDEEFF"), sample);
  EXPECT_EQ(UUID::parse("00112233-4455-6677-8899-aabbccddeeff"), sample);
  EXPECT_EQ(UUID::parse("00112233-4455-6677-8899-aAbBcCdDeEfF"), sample);
}

TEST(UUID, parseRefusesEverythingElse) {
  for (const char* text : {"", "00112233445566778899AABBCCDDEEFF", "00112233-4455-6677-8899-AABBCCDDEEF",
                           "00112233-4455-6677-8899-AABBCCDDEEFF0", "0011223304455-6677-8899-AABBCCDDEEFF",
                           "G0112233-4455-6677-8899-AABBCCDDEEFF", "{0112233-4455-6677-8899-AABBCCDDEEF}",
                           " 0112233-4455-6677-8899-AABBCCDDEEFF", "00112233-4455-6677-88990AABBCCDDEEFF"}) {
    EXPECT_EQ(UUID::parse(text), std::nullopt) << text;
  }
}

TEST(UUID, hashFollowsEquality) {
  UUID other = sample;
  EXPECT_EQ(std::hash<UUID>{}(sample), std::hash<UUID>{}(other));
  other.bytes[15] = 0;
  EXPECT_NE(std::hash<UUID>{}(sample), std::hash<UUID>{}(other));
}

TEST(RandomUUIDSource, givesDistinctVersionFourIdentifiers) {
  RandomUUIDSource source;
  std::set<UUID> seen;
  for (int i = 0; i < 1000; ++i) {
    const UUID id = source.next();
    EXPECT_EQ(id.string()[14], '4');
    EXPECT_NE(std::string("89AB").find(id.string()[19]), std::string::npos) << id.string();
    EXPECT_TRUE(seen.insert(id).second);
  }
}

}  // namespace
}  // namespace brindlemux
