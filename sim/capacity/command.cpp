#include "sim/capacity/command.h"

#include "airtime.h"
#include "sim/capacity/chart.h"
#include "sim/capacity/plan.h"
#include "sim/capacity/table.h"
#include "sim/lib/private_world.h"
#include "sim/scenario/units.h"

#include <fmt/format.h>
#include <fstream>
#include <memory>
#include <stdexcept>

namespace tspec::sim::capacity {

namespace {

// The allowance has three bits before the point; below 1 it is not applied.
constexpr double least_surplus = 1.0;
constexpr double most_surplus = 7.99;

struct Words {
    std::vector<std::string> codecs{"g711", "opus", "g729"};
    std::vector<std::string> phy_rates{"6M", "12M", "24M", "54M"};
    std::vector<std::string> limits{"50"};
    std::string encryption = "none";
    std::string csv;
    std::string svg;
    Plan plan;
};

std::vector<std::string> codec_names()
{
    std::vector<std::string> names;
    for (const Codec &codec : codecs()) {
        names.emplace_back(codec.name);
    }
    return names;
}

std::string check_rate(const std::string &word)
{
    std::optional<int64_t> rate = scenario::bit_rate(word);
    bool is_ofdm = rate && *rate > 0 && *rate <= 54'000'000 &&
                   airtime_ofdm_rate(static_cast<uint32_t>(*rate)) == *rate;
    return is_ofdm
               ? ""
               : fmt::format("expected 6M, 9M, 12M, 18M, 24M, 36M, 48M or 54M, got \"{}\"", word);
}

std::string check_limit(const std::string &word)
{
    std::optional<int64_t> limit = scenario::percentage(word);
    return limit && *limit >= 1 && *limit <= 100
               ? ""
               : fmt::format("expected a percentage of 1 to 100, got \"{}\"", word);
}

// Opened before the work, as a name that cannot be written should be told at once.
std::ofstream open_file(const std::string &name)
{
    std::ofstream file;
    if (!name.empty()) {
        file.open(PrivateWorld::current().host_path(name));
        if (!file) {
            throw std::runtime_error(fmt::format("{}: cannot be written", name));
        }
    }
    return file;
}

void write_file(std::ofstream &file, const std::string &name, const std::string &text)
{
    if (!name.empty() && !(file << text << std::flush)) {
        throw std::runtime_error(fmt::format("{}: cannot be written", name));
    }
}

int plan_capacity(const Words &words)
{
    try {
        PrivateWorld::enter();
        std::ofstream csv = open_file(words.csv);
        std::ofstream svg = open_file(words.svg);
        std::vector<Row> rows = carry_out(words.plan);
        fmt::print("{}", table_of(rows));
        write_file(csv, words.csv, csv_of(rows));
        write_file(svg, words.svg, chart_of(words.plan, rows));
        return 0;
    } catch (const std::exception &error) {
        fmt::print(stderr, "tspec-sim: {}\n", error.what());
        return 3;
    }
}

void complete(Words &words)
{
    for (const std::string &word : words.codecs) {
        words.plan.codecs.push_back(find_codec(word));
    }
    for (const std::string &word : words.phy_rates) {
        words.plan.phy_rates.push_back(static_cast<uint32_t>(*scenario::bit_rate(word)));
    }
    for (const std::string &word : words.limits) {
        words.plan.limits.push_back(static_cast<uint32_t>(*scenario::percentage(word)));
    }
    words.plan.encrypted = words.encryption == "ccmp";
}

} // namespace

void add_command(CLI::App &app, int &status)
{
    auto words = std::make_shared<Words>();
    CLI::App *capacity = app.add_subcommand(
        "capacity", "Tells how many voice calls fit, by asking the daemon for one after another");
    capacity->add_option("--codec", words->codecs, "Codecs")
        ->delimiter(',')
        ->check(CLI::IsMember(codec_names()))
        ->capture_default_str();
    capacity->add_option("--phy-rate", words->phy_rates, "Lowest rates on the air, such as 6M,54M")
        ->delimiter(',')
        ->check(CLI::Validator(check_rate, "RATE"))
        ->capture_default_str();
    capacity->add_option("--limit", words->limits, "Shares of the air for voice, in percent")
        ->delimiter(',')
        ->check(CLI::Validator(check_limit, "PERCENT"))
        ->capture_default_str();
    capacity
        ->add_option("--surplus", words->plan.surplus,
                     "Surplus bandwidth allowance: 1.2 sets a fifth aside for retries")
        ->check(CLI::Range(least_surplus, most_surplus))
        ->capture_default_str();
    capacity->add_option("--encryption", words->encryption, "none, or ccmp (16 bytes a frame)")
        ->check(CLI::IsMember({"none", "ccmp"}))
        ->capture_default_str();
    capacity->add_option("--csv", words->csv, "Writes the table as comma-separated values, too")
        ->type_name("FILE");
    capacity->add_option("--svg", words->svg, "Draws a chart of the calls, too")->type_name("FILE");
    capacity
        ->add_option("--daemon", words->plan.daemon,
                     "The daemon to run (default: $TSPEC_DAEMON, else tspec-daemon beside "
                     "tspec-sim)")
        ->type_name("FILE");
    capacity->callback([words, &status] {
        complete(*words);
        status = plan_capacity(*words);
    });
}

} // namespace tspec::sim::capacity
