// Drives a fuzz target without a fuzzer: every file of a folder, then mutations of those files under a fixed seed.
//
//   <target>_fuzz FOLDER [MUTATIONS [SEED]]    or    <target>_fuzz FILE
//
// An input that ends the process, or takes longer than ten seconds, is left in a file named on standard error.
#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

#include "fuzz/fuzz_target.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr unsigned secondsPerInput = 10;
constexpr std::size_t mostBytes = 1 << 16;

Bytes current;
std::string failedFile;

extern "C" void leaveInputBehind(int signal) {
  const int file = open(failedFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  std::array<const char*, 3> parts = {"the input is in ", failedFile.c_str(), "\n"};
  if (file >= 0 && write(file, current.data(), current.size()) == static_cast<ssize_t>(current.size())) {
    for (const char* part : parts) {
      if (write(STDERR_FILENO, part, std::strlen(part)) < 0) break;
    }
  }
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

// An exception that a target lets out ends the process like any other fault.
void run(Bytes input) noexcept {
  current = std::move(input);
  alarm(secondsPerInput);
  LLVMFuzzerTestOneInput(current.data(), current.size());
  alarm(0);
}

Bytes contentOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<Bytes> corpusIn(const std::filesystem::path& path) {
  if (!std::filesystem::is_directory(path)) return {contentOf(path)};
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(path)) files.push_back(entry.path());
  std::ranges::sort(files);
  std::vector<Bytes> corpus;
  for (const auto& file : files) corpus.push_back(contentOf(file));
  return corpus;
}

class Mutator {
 public:
  Mutator(const std::vector<Bytes>& corpus, std::uint64_t seed) : corpus_(corpus), random_(seed) {}

  Bytes next() {
    Bytes bytes = any();
    for (std::size_t changes = 1 + below(6); changes > 0; --changes) change(bytes);
    if (bytes.size() > mostBytes) bytes.resize(mostBytes);
    return bytes;
  }

 private:
  std::size_t below(std::size_t bound) { return bound == 0 ? 0 : static_cast<std::size_t>(random_() % bound); }
  const Bytes& any() { return corpus_[below(corpus_.size())]; }
  static Bytes::difference_type at(std::size_t position) { return static_cast<Bytes::difference_type>(position); }

  void change(Bytes& bytes) {
    const std::size_t from = below(bytes.size() + 1);
    const std::size_t count = std::min(bytes.size() - from, 1 + below(16));
    switch (below(6)) {
      case 0:
        if (from < bytes.size()) bytes[from] ^= static_cast<std::uint8_t>(1U << below(8));
        break;
      case 1:
        if (from < bytes.size()) bytes[from] = static_cast<std::uint8_t>(below(256));
        break;
      case 2:
        bytes.erase(bytes.begin() + at(from), bytes.begin() + at(from + count));
        break;
      case 3: {
        const Bytes piece(bytes.begin() + at(from), bytes.begin() + at(from + count));
        for (std::size_t copies = 1 + below(4); copies > 0; --copies) insert(bytes, piece);
        break;
      }
      case 4: {
        const Bytes& other = any();
        const std::size_t start = below(other.size() + 1);
        const std::size_t length = std::min(other.size() - start, 1 + below(64));
        insert(bytes, Bytes(other.begin() + at(start), other.begin() + at(start + length)));
        break;
      }
      default: {
        constexpr std::array<const char*, 16> words = {"0",          "-1",   "1e400", "9223372036854775808",
                                                       "4294967296", "null", "[",     "{",
                                                       "\"\"",       "true", "}",     "]",
                                                       "\xEF\xBF",   "\\u",  "\n",    "\t"};
        const char* const word = words[below(words.size())];
        insert(bytes, Bytes(word, word + std::strlen(word)));
      }
    }
  }

  void insert(Bytes& bytes, const Bytes& piece) {
    bytes.insert(bytes.begin() + at(below(bytes.size() + 1)), piece.begin(), piece.end());
  }

  const std::vector<Bytes>& corpus_;
  std::mt19937_64 random_;
};

}  // namespace

int main(int argc, char** argv) try {
  if (argc < 2) return std::fprintf(stderr, "usage: %s FOLDER [MUTATIONS [SEED]]\n", argv[0]), 2;
  failedFile = (std::filesystem::temp_directory_path() / "brindlemux-fuzz-").string() + std::to_string(getpid());
  for (const int signal : {SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGALRM}) std::signal(signal, leaveInputBehind);

  const std::vector<Bytes> corpus = corpusIn(argv[1]);
  if (corpus.empty()) return std::fprintf(stderr, "%s holds no input\n", argv[1]), 1;
  for (const Bytes& input : corpus) run(input);
  run({});
  const unsigned long mutations = argc > 2 ? std::stoul(argv[2]) : 0;
  Mutator mutator(corpus, argc > 3 ? std::stoull(argv[3]) : 1);
  for (unsigned long i = 0; i < mutations; ++i) run(mutator.next());
  std::printf("%zu inputs of the corpus and %lu mutations\n", corpus.size(), mutations);
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
