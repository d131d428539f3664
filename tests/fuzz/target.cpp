// The fuzz target: plays an input. Where libFuzzer drives it, it also changes
// inputs by whole operations, and tells script/fuzz how far the run has come.
#include "player.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

using tspec::fuzz::Bytes;
using tspec::fuzz::Played;
using tspec::fuzz::Player;

extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t max_size)
    __attribute__((weak));

namespace {

// How many turns of the main loop an input may play. Most play few, so that many
// inputs are played, some play longer, and a few as long as they can: to the
// limit of streams, for example. It hangs on the input alone, so that the same
// input always plays the same.
uint64_t max_turns_of(const uint8_t *data, size_t size)
{
    uint32_t hash = 2166136261;
    for (size_t i = 0; i < size; i++) {
        hash = (hash ^ data[i]) * 16777619;
    }
    hash ^= hash >> 15;
    if (hash % 128 == 0) {
        return Player::MAX_TURNS;
    }
    return hash % 8 == 0 ? 100 : 24;
}

// A line of "executions turns ended-by-division", written over about once a
// second in the file that TSPEC_FUZZ_PROGRESS names.
class Progress {
  public:
    Progress() : path_(std::getenv("TSPEC_FUZZ_PROGRESS")) {}
    ~Progress() { write(); }
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    void add(const Played &played)
    {
        executions_++;
        turns_ += played.turns;
        ended_ += played.ended_itself ? 1 : 0;
        if (path_ != nullptr && executions_ % 64 == 0) {
            write_when_due();
        }
    }

  private:
    using Clock = std::chrono::steady_clock;

    void write_when_due()
    {
        if (Clock::now() >= due_) {
            due_ = Clock::now() + std::chrono::seconds(1);
            write();
        }
    }

    // In one step, as the process may be killed at any time.
    void write() const
    {
        if (path_ == nullptr) {
            return;
        }
        const std::string next = std::string(path_) + ".next";
        if (FILE *file = std::fopen(next.c_str(), "w"); file != nullptr) {
            std::fprintf(file, "%llu %llu %llu\n", executions_, turns_, ended_);
            std::fclose(file);
            std::rename(next.c_str(), path_);
        }
    }

    const char *path_;
    unsigned long long executions_ = 0;
    unsigned long long turns_ = 0;
    unsigned long long ended_ = 0;
    Clock::time_point due_{};
};

Bytes part(const Bytes &input, size_t begin, size_t end)
{
    return {input.begin() + static_cast<ptrdiff_t>(begin),
            input.begin() + static_cast<ptrdiff_t>(end)};
}

void insert(Bytes &input, size_t at, const Bytes &bytes)
{
    input.insert(input.begin() + static_cast<ptrdiff_t>(at), bytes.begin(), bytes.end());
}

void erase(Bytes &input, size_t begin, size_t end)
{
    input.erase(input.begin() + static_cast<ptrdiff_t>(begin),
                input.begin() + static_cast<ptrdiff_t>(end));
}

// An operation of any kind with any fields.
Bytes any_operation(std::minstd_rand &random)
{
    Bytes bytes(9);
    for (uint8_t &byte : bytes) {
        byte = static_cast<uint8_t>(random() >> 8);
    }
    return part(bytes, 0, tspec::fuzz::boundaries(bytes)[1]);
}

// One operation left out, doubled, moved, exchanged or put in.
Bytes with_other_operations(Bytes input, std::minstd_rand &random)
{
    const std::vector<size_t> places = tspec::fuzz::boundaries(input);
    if (places.size() < 2) {
        return any_operation(random);
    }
    const size_t one = random() % (places.size() - 1);
    const size_t other = random() % places.size();
    const Bytes operation = part(input, places[one], places[one + 1]);
    switch (random() % 5) {
    case 0:
        erase(input, places[one], places[one + 1]);
        break;
    case 1:
        insert(input, places[other], operation);
        break;
    case 2:
        erase(input, places[one], places[one + 1]);
        insert(input, other > one ? places[other] - operation.size() : places[other], operation);
        break;
    case 3:
        erase(input, places[one], places[one + 1]);
        insert(input, places[one], any_operation(random));
        break;
    default:
        insert(input, places[other], any_operation(random));
        break;
    }
    return input;
}

size_t copy_out(const Bytes &input, uint8_t *data, size_t max_size)
{
    const size_t size = std::min(input.size(), max_size);
    std::copy_n(input.begin(), size, data);
    return size;
}

} // namespace

// Cheap allocations: an input makes many, and a report needs no long history.
extern "C" const char *__asan_default_options()
{
    return "malloc_context_size=2:quarantine_size_mb=16";
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static Progress progress;
    const Played played = Player({data, size}, false, max_turns_of(data, size)).play();
    progress.add(played);
    if (played.difference) {
        std::fprintf(stderr, "\nThe daemon differs from the model %s\n",
                     played.difference->c_str());
        std::abort(); // libFuzzer keeps the input
    }
    return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t max_size,
                                          unsigned int seed)
{
    std::minstd_rand random(seed);
    if (random() % 2 == 0) {
        return LLVMFuzzerMutate(data, size, max_size);
    }
    return copy_out(with_other_operations(Bytes(data, data + size), random), data, max_size);
}

// The begin of one input and the end of another, cut between operations.
extern "C" size_t LLVMFuzzerCustomCrossOver(const uint8_t *first, size_t first_size,
                                            const uint8_t *second, size_t second_size, uint8_t *out,
                                            size_t max_size, unsigned int seed)
{
    std::minstd_rand random(seed);
    const auto cut = [&](const Bytes &input) {
        const std::vector<size_t> places = tspec::fuzz::boundaries(input);
        return places[random() % places.size()];
    };
    const Bytes begin(first, first + first_size);
    const Bytes end(second, second + second_size);
    Bytes input = part(begin, 0, cut(begin));
    const size_t from = cut(end);
    insert(input, input.size(), part(end, from, end.size()));
    return copy_out(input, out, max_size);
}
