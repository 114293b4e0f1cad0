// In libFuzzer's place where there is none: hands every file of the named folders to the target, once. Takes
// the same command line; the fuzzer's own options mean nothing here.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
// Not every target has one.
extern "C" [[gnu::weak]] int LLVMFuzzerInitialize(int* count, char*** arguments);

namespace {

void Replay(const std::filesystem::path& name) {
    std::ifstream file(name, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

}  // namespace

int main(int count, char** arguments) {
    if (LLVMFuzzerInitialize != nullptr) {
        LLVMFuzzerInitialize(&count, &arguments);
    }
    int replayed = 0;
    for (int i = 1; i < count; ++i) {
        if (arguments[i][0] == '-') {
            continue;
        }
        for (const auto& entry : std::filesystem::recursive_directory_iterator(arguments[i])) {
            if (entry.is_regular_file()) {
                Replay(entry.path());
                ++replayed;
            }
        }
    }
    std::printf("stat::number_of_executed_units: %d\n", replayed);
    return 0;
}
