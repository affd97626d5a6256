// Runs a fuzzing harness without libFuzzer: LLVMFuzzerTestOneInput on every
// file of the directories (or files) named on the command line, in name
// order. A missing directory counts as empty; no input at all is an error,
// so a test whose seeds went missing does not pass silently.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv)
{
    namespace fs = std::filesystem;
    std::vector<fs::path> inputs;
    for (int k = 1; k < argc; ++k) {
        const fs::path arg(argv[k]);
        std::error_code error;
        if (fs::is_directory(arg, error)) {
            for (const fs::directory_entry& entry : fs::directory_iterator(arg))
                if (entry.is_regular_file())
                    inputs.push_back(entry.path());
        } else if (fs::is_regular_file(arg, error)) {
            inputs.push_back(arg);
        }
    }
    if (inputs.empty()) {
        std::fprintf(stderr, "no inputs to replay\n");
        return 1;
    }
    std::sort(inputs.begin(), inputs.end());
    for (const fs::path& path : inputs) {
        std::ifstream in(path, std::ios::binary);
        const std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        std::printf("%s (%zu bytes)\n", path.filename().c_str(), bytes.size());
        std::fflush(stdout);
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    }
    std::printf("%zu inputs replayed\n", inputs.size());
    return 0;
}
