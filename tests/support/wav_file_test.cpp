#include "support/wav_file.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

#include "support/temporary_folder.h"

namespace brindlemux::test {
namespace {

const WavFile sample = {44100, {{0.0f, 1.0f, -0.1f}, {1e-40f, -2.5f, 3.0f}, {7.0f, 8.0f, 9.0f}}};

TEST(WavFile, givesBackWhatWasWrittenToTheBit) {
  const TemporaryFolder folder;
  writeWav(folder.path() / "a.wav", sample);
  // A header of 44 bytes, and 3 frames of 3 channels of 4 bytes.
  EXPECT_EQ(std::filesystem::file_size(folder.path() / "a.wav"), 44u + 3 * 3 * 4);
  const auto read = readWav(folder.path() / "a.wav");
  ASSERT_TRUE(read);
  EXPECT_EQ(read->sampleRateHz, sample.sampleRateHz);
  EXPECT_EQ(read->channels, sample.channels);
}

TEST(WavFile, readsWholeFramesOfAnUnfinishedRecording) {
  const TemporaryFolder folder;
  writeWav(folder.path() / "a.wav", sample);
  // Two frames and one sample of the third.
  std::filesystem::resize_file(folder.path() / "a.wav", 44 + 2 * 3 * 4 + 4);
  const auto read = readWav(folder.path() / "a.wav");
  ASSERT_TRUE(read);
  ASSERT_EQ(read->frames(), 2u);
  EXPECT_EQ(read->channels[2], (std::vector<float>{7.0f, 8.0f}));
}

TEST(WavFile, theEndIsReadAlone) {
  const TemporaryFolder folder;
  const auto path = folder.path() / "a.wav";
  writeWav(path, sample);
  EXPECT_EQ(readWavEnd(path, 2)->channels,
            (std::vector<std::vector<float>>{{1.0f, -0.1f}, {-2.5f, 3.0f}, {8.0f, 9.0f}}));
  EXPECT_EQ(readWavEnd(path, 4)->channels, sample.channels);
  EXPECT_EQ(readWavEnd(path, 0)->channels, std::vector<std::vector<float>>(3));
  // Two frames and one sample of the third.
  std::filesystem::resize_file(path, 44 + 2 * 3 * 4 + 4);
  EXPECT_EQ(readWavEnd(path, 1)->channels, (std::vector<std::vector<float>>{{1.0f}, {-2.5f}, {8.0f}}));
}

TEST(WavFile, otherFilesAreNothing) {
  const TemporaryFolder folder;
  EXPECT_FALSE(readWav(folder.path() / "absent.wav"));
  std::ofstream(folder.path() / "text.wav") << "this is no audio file at all, however long it is";
  EXPECT_FALSE(readWav(folder.path() / "text.wav"));
}

}  // namespace
}  // namespace brindlemux::test
