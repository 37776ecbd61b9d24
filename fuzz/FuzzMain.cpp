// Runs the files named on the command line through a fuzz target, each whole, cut off at several
// lengths, and with bytes turned over.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fputs("Name the files to run.\n", stderr);
    return 1;
  }
  for (int i = 1; i < argc; ++i) {
    std::ifstream in(argv[i], std::ios::binary);
    if (!in) {
      std::fprintf(stderr, "Cannot read %s.\n", argv[i]);
      return 1;
    }
    std::vector<char> file{std::istreambuf_iterator<char>(in), {}};
    std::vector<std::uint8_t> bytes(file.begin(), file.end());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    for (std::size_t cut = 0; cut < bytes.size(); cut += bytes.size() / 16 + 1)
      LLVMFuzzerTestOneInput(bytes.data(), cut);
    for (std::size_t at = 0; at < bytes.size() && at < 200; ++at) {
      bytes[at] ^= 0xff;
      LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
      bytes[at] ^= 0xff;
    }
  }
  std::printf("%d files run.\n", argc - 1);
  return 0;
}
