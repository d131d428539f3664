#include "medium.h"

#include "airtime.h"

#include <algorithm>
#include <iterator>

namespace tspec::air {

namespace {

constexpr uint32_t asks_for_no_acknowledgement = 2;
constexpr uint32_t lowest_5ghz_frequency = 5000;

// The rates by which the kernel's radios number theirs on 2.4 GHz; on 5 GHz the first
// four are missing.
constexpr uint32_t rates[] = {1000000,  2000000,  5500000,  11000000, 6000000,  9000000,
                              12000000, 18000000, 24000000, 36000000, 48000000, 54000000};
constexpr int cck_rates = 4;
constexpr uint32_t cck_preamble = 192; // us, the long one

int table_index(uint32_t frequency, int rate_index)
{
    const int first = frequency >= lowest_5ghz_frequency ? cck_rates : 0;
    return std::clamp(rate_index, 0, static_cast<int>(std::size(rates)) - 1 - first) + first;
}

uint32_t airtime(size_t size, int index)
{
    const auto with_fcs = static_cast<uint32_t>(size) + AIRTIME_FCS;
    if (index < cck_rates) {
        return cck_preamble + static_cast<uint32_t>(8ULL * with_fcs * 1000000 / rates[index]);
    }
    return airtime_of_frame(with_fcs, rates[index]);
}

} // namespace

Medium::Medium(Observer observer, Witness witness)
    : radios_([this](const Sent &sent) { pass_on(sent); }), observer_(std::move(observer)),
      witness_(std::move(witness))
{
}

void Medium::pass_on(const Sent &sent)
{
    Frame frame;
    const bool addressed = frame.parse(sent.frame);
    // Not even told that nobody has acknowledged it: it would try again at once, for ever.
    if (off_.contains(sent.radio)) {
        return;
    }
    count(sent.frame, sent.frequency, sent.rate_index());
    if (!addressed) {
        radios_.report(sent, true);
        return;
    }
    known_.insert(sent.radio);
    places_[frame.transmitter] = {sent.radio, sent.frequency};
    // Told first: what the frame brings about comes after it, for its sender too.
    if (observer_(frame)) {
        radios_.report(sent, true);
        return;
    }
    const bool heard = deliver(frame, sent.radio, sent.frequency, sent.rate_index());
    const bool wanted = (sent.flags & asks_for_no_acknowledgement) == 0;
    radios_.report(sent, wanted && heard && !is_group(frame.receiver));
}

// Whether a radio has the address that the frame is for.
bool Medium::deliver(const Frame &frame, const Mac &from, uint32_t frequency, int rate_index)
{
    auto place = places_.find(frame.receiver);
    if (place != places_.end()) {
        if (off_.contains(place->second.radio)) {
            return false;
        }
        radios_.deliver(place->second.radio, frame.bytes, frequency, rate_index);
        return true;
    }
    for (const Mac &radio : known_) {
        if (radio != from && !off_.contains(radio)) {
            radios_.deliver(radio, frame.bytes, frequency, rate_index);
        }
    }
    return false;
}

void Medium::transmit(ByteView bytes)
{
    Frame frame;
    if (!frame.parse(bytes)) {
        return;
    }
    auto place = places_.find(frame.receiver);
    if (place == places_.end()) {
        return;
    }
    count(bytes, place->second.frequency, 0);
    if (!off_.contains(place->second.radio)) {
        radios_.deliver(place->second.radio, bytes, place->second.frequency, 0);
    }
}

bool Medium::switch_radio(const Mac &address, bool on)
{
    auto place = places_.find(address);
    if (place == places_.end()) {
        return false;
    }
    if (on) {
        off_.erase(place->second.radio);
    } else {
        off_.insert(place->second.radio);
    }
    return true;
}

void Medium::count(ByteView frame, uint32_t frequency, int rate_index)
{
    const int index = table_index(frequency, rate_index);
    busy_[frequency] += airtime(frame.size(), index);
    witness_(frame, frequency, rates[index]);
}

unsigned Medium::busy(const Mac &sender, uint64_t elapsed) const
{
    auto place = places_.find(sender);
    if (place == places_.end() || elapsed == 0) {
        return 0;
    }
    auto time = busy_.find(place->second.frequency);
    return time == busy_.end() ? 0 : static_cast<unsigned>(time->second * 100 / elapsed);
}

} // namespace tspec::air
