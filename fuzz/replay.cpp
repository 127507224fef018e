// Runs a fuzz target over files without libFuzzer: every file named on the
// command line, and every regular file in every directory named there (in
// name order), goes through LLVMFuzzerTestOneInput once. The normal test run
// uses it to replay the seed corpus and the regression inputs.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <dirent.h>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argc, char*** argv);

namespace {

bool isDirectory(const std::string& path)
{
    struct stat st;
    return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

std::vector<std::string> filesIn(const std::string& dir)
{
    std::vector<std::string> files;
    if (DIR* d = opendir(dir.c_str())) {
        while (const dirent* entry = readdir(d)) {
            const std::string path = dir + "/" + entry->d_name;
            struct stat st;
            if (entry->d_name[0] != '.' && stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode))
                files.push_back(path);
        }
        closedir(d);
    }
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

int main(int argc, char** argv)
{
    if (LLVMFuzzerInitialize)
        LLVMFuzzerInitialize(&argc, &argv);
    std::vector<std::string> files;
    for (int i = 1; i < argc; ++i) {
        if (isDirectory(argv[i])) {
            const std::vector<std::string> inDir = filesIn(argv[i]);
            files.insert(files.end(), inDir.begin(), inDir.end());
        } else {
            files.push_back(argv[i]);
        }
    }
    if (files.empty()) {
        fprintf(stderr, "replay: no input files\n");
        return 1;
    }
    for (const std::string& path : files) {
        std::ifstream in(path, std::ios::binary);
        if (!in) {
            fprintf(stderr, "replay: cannot read %s\n", path.c_str());
            return 1;
        }
        const std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        // An exact-size copy, as libFuzzer hands it over.
        std::vector<uint8_t> input(bytes.begin(), bytes.end());
        fprintf(stderr, "replay: %s (%zu bytes)\n", path.c_str(), input.size());
        LLVMFuzzerTestOneInput(input.data(), input.size());
    }
    fprintf(stderr, "replay: %zu inputs, all passed\n", files.size());
    return 0;
}
