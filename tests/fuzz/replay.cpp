// Plays kept inputs to the fuzz target, without libFuzzer and with any compiler:
//
//   fuzz_replay FILE|FOLDER...              plays them all
//   fuzz_replay --transcript FILE           and says what happens
//
// Ends with status 0 when the daemon did in all of them what the model does.
#include "player.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace fs = std::filesystem;

namespace {

std::vector<fs::path> files_of(const fs::path &place)
{
    if (!fs::is_directory(place)) {
        return {place};
    }
    std::vector<fs::path> files;
    for (const fs::directory_entry &entry : fs::directory_iterator(place)) {
        files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

bool play(const fs::path &path, bool transcript)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        std::fprintf(stderr, "cannot read %s\n", path.c_str());
        return false;
    }
    const std::vector<char> text{std::istreambuf_iterator<char>(file), {}};
    const std::vector<uint8_t> input(text.begin(), text.end());
    // Where a sanitizer ends the program, the input is the last one named.
    std::printf("%s\n", path.filename().c_str());
    std::fflush(stdout);
    const tspec::fuzz::Played played = tspec::fuzz::Player(input, transcript).play();
    if (played.difference) {
        std::printf("The daemon differs from the model %s\n", played.difference->c_str());
    }
    return !played.difference;
}

} // namespace

int main(int argc, char **argv)
{
    const bool transcript = argc > 1 && std::strcmp(argv[1], "--transcript") == 0;
    size_t played = 0;
    size_t failed = 0;
    for (int i = transcript ? 2 : 1; i < argc; i++) {
        for (const fs::path &path : files_of(argv[i])) {
            failed += play(path, transcript) ? 0 : 1;
            played++;
        }
    }
    if (played == 0) {
        std::fprintf(stderr, "usage: %s [--transcript] FILE|FOLDER...\n", argv[0]);
        return 2;
    }
    std::printf("%zu inputs played, %zu with a difference\n", played, failed);
    return failed == 0 ? 0 : 1;
}
