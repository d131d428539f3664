#include "support.h"

#include "sim/lib/child_process.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <system_error>
#include <unistd.h>

namespace tspec::e2e {

namespace fs = std::filesystem;

namespace {

// A division by zero must end the daemon as a signal does, and what the runtime
// finds must be seen in the exit status.
constexpr const char *sanitizer_options = "handle_sigfpe=0:exitcode=99";

// A new one for each process, whatever earlier ones left behind: in a private /tmp what
// the machine's own holds is mounted, and could not be replaced.
class ScratchFolder {
  public:
    ScratchFolder()
    {
        if (!mkdtemp(name_.data())) {
            throw std::system_error(errno, std::generic_category(), name_);
        }
    }

    ~ScratchFolder()
    {
        if (getpid() == owner_) { // not a child that ends without having executed a program
            std::error_code ignored;
            fs::remove_all(name_, ignored);
        }
    }

    ScratchFolder(const ScratchFolder &) = delete;
    ScratchFolder &operator=(const ScratchFolder &) = delete;

    fs::path path() const { return name_; }

  private:
    std::string name_ = "/tmp/tspec-e2e-XXXXXX";
    pid_t owner_ = getpid();
};

// Inode of the UDP socket with this local port in a table of the kernel.
std::string inode_of_port(int pid, uint16_t port)
{
    std::ifstream table(fmt::format("/proc/{}/net/udp", pid));
    std::string line;
    std::getline(table, line);
    while (std::getline(table, line)) {
        std::istringstream words(line);
        std::vector<std::string> word{std::istream_iterator<std::string>(words), {}};
        if (word.size() > 9 && word[1] == fmt::format("00000000:{:04X}", port)) {
            return word[9];
        }
    }
    return {};
}

size_t errors_so_far(const AccessPoint &ap)
{
    return ap.standard_error().size();
}

} // namespace

AccessPoint &DaemonTest::prepare(const Options &options)
{
    ap_.reset();
    Options complete = options;
    complete.environment.emplace_back("ASAN_OPTIONS", sanitizer_options);
    complete.environment.emplace_back("UBSAN_OPTIONS", "handle_sigfpe=0:print_stacktrace=1");
    // The search for leaks needs to trace, and descriptors.
    if (!options.wrapper.empty() || options.descriptor_limit != 0) {
        complete.environment.emplace_back("LSAN_OPTIONS", "detect_leaks=0");
    }
    ap_ = std::make_unique<AccessPoint>(complete);
    expects_daemon_ = true;
    return *ap_;
}

AccessPoint &DaemonTest::boot(const Options &options)
{
    prepare(options);
    EXPECT_TRUE(ap_->start());
    return *ap_;
}

void DaemonTest::finish()
{
    if (!ap_ || !expects_daemon_) {
        return;
    }
    ap_->settle();
    EXPECT_TRUE(ap_->running()) << (ap_->end() ? ap_->end()->text() : "never started") << '\n'
                                << ap_->standard_error();
    ap_->stop();
    ASSERT_TRUE(ap_->end().has_value());
    EXPECT_EQ(ap_->end()->text(), "exit status 0") << ap_->standard_error();
    expects_daemon_ = false;
}

void DaemonTest::TearDown()
{
    finish();
    ap_.reset();
}

bool daemon_is_sanitized()
{
    // Asked for each of many test cases; the answer takes reading the whole file.
    static const bool is_sanitized = has_address_sanitizer(find_daemon({}));
    return is_sanitized;
}

static std::string content_of(const fs::path &path)
{
    std::string content(fs::file_size(path), '\0');
    std::ifstream(path, std::ios::binary)
        .read(content.data(), static_cast<std::streamsize>(content.size()));
    return content;
}

// Told by its program interpreter.
static bool daemon_is_on_musl()
{
    static const bool is_on_musl =
        content_of(find_daemon({})).find("/lib/ld-musl-") != std::string::npos;
    return is_on_musl;
}

unsigned measure(unsigned small, unsigned full)
{
    const char *variable = std::getenv("TSPEC_LONG");
    return variable && std::strcmp(variable, "1") == 0 ? full : small;
}

fs::path scratch_file(std::string_view name)
{
    static const ScratchFolder folder;
    fs::path path = folder.path() / name;
    fs::remove(path);
    return path;
}

std::string console_line(std::string_view text)
{
    return fmt::format("Tspec(1,1): {}\n\r", text);
}

std::string console_lines(const std::vector<std::string> &texts)
{
    std::string lines;
    for (const std::string &text : texts) {
        lines += console_line(text);
    }
    return lines;
}

void set_trace_mask(AccessPoint &ap, uint32_t mask)
{
    std::vector<uint8_t> levels{0};
    for (uint8_t level = 1; level <= 7; level++) {
        if (mask & (1U << (level - 1))) {
            levels.push_back(level);
        }
    }
    ap.cli().send(cli_debug(levels));
    ap.settle();
}

std::string console_during(AccessPoint &ap, const std::function<void()> &action)
{
    ap.settle();
    size_t before = ap.console().size();
    action();
    ap.settle();
    return ap.console().substr(before);
}

std::string error_during(AccessPoint &ap, const std::function<void()> &action)
{
    ap.settle();
    size_t before = errors_so_far(ap);
    action();
    ap.settle();
    return ap.standard_error().substr(before);
}

std::vector<Bytes> sent_to(const Events &events, Peer peer)
{
    std::vector<Bytes> datagrams;
    for (const Event &event : with_peer(events, peer, Kind::from_daemon)) {
        datagrams.push_back(event.data);
    }
    return datagrams;
}

Bytes only_sent_to(const Events &events, Peer peer)
{
    std::vector<Bytes> datagrams = sent_to(events, peer);
    EXPECT_EQ(datagrams.size(), 1U) << "datagrams to " << peer_name(peer);
    return datagrams.size() == 1 ? datagrams.front() : Bytes{};
}

std::vector<std::string> log_texts(const Events &events)
{
    std::vector<std::string> texts;
    for (const Event &event : of_kind(events, Kind::syslog)) {
        texts.push_back(event.as<SyslogLine>()->text);
    }
    return texts;
}

std::vector<std::string> trap_records(const Events &events)
{
    std::vector<std::string> records;
    for (const Event &event : of_kind(events, Kind::trap)) {
        if (event.delivered) {
            records.push_back(event.text());
        }
    }
    return records;
}

std::optional<std::string> ask(AccessPoint &ap, std::string_view request)
{
    ap.settle();
    ap.dman().send(status_request(request));
    std::vector<Bytes> answers = sent_to(ap.settle(), Peer::dman);
    if (answers.empty()) {
        return std::nullopt;
    }
    EXPECT_EQ(answers.size(), 1U) << request;
    std::string text = text_of(answers.front());
    if (text == "end") {
        return text;
    }
    EXPECT_FALSE(text.empty());
    EXPECT_EQ(text.back(), '\0');
    text.pop_back();
    return text;
}

std::string value_of(const std::string &answer, std::string_view key)
{
    std::istringstream lines(answer);
    std::string line;
    while (std::getline(lines, line)) {
        if (line.starts_with(fmt::format("{}=", key))) {
            return line.substr(key.size() + 1);
        }
    }
    return "no such key";
}

std::string show(AccessPoint &ap, bool all)
{
    return console_during(ap, [&] { ap.cli().send(cli_show(all)); });
}

bool is_alive(AccessPoint &ap)
{
    ap.settle();
    ap.cli().send(cli_ping());
    Events events = ap.settle();
    std::vector<Bytes> answers = sent_to(events, Peer::cli);
    return answers.size() == 1 && text_of(answers.front()) == "PONG";
}

int udp_descriptor(const AccessPoint &ap)
{
    std::string inode = inode_of_port(ap.pid(), TSPEC_UDP_PORT);
    for (const OpenDescriptor &descriptor : open_descriptors(ap.pid())) {
        if (descriptor.target == fmt::format("socket:[{}]", inode)) {
            return descriptor.fd;
        }
    }
    return -1;
}

// What the daemon's C library calls an error. The tests' own is glibc; a daemon
// built on musl has other words for some.
static std::string error_text(int error_number)
{
    static const std::map<int, std::string> words_of_musl = {
        {EMFILE, "No file descriptors available"},
        {EIO, "I/O error"},
        {ENETUNREACH, "Network unreachable"},
        {EADDRINUSE, "Address in use"},
        {ENOMEM, "Out of memory"},
    };
    const auto other = words_of_musl.find(error_number);
    return daemon_is_on_musl() && other != words_of_musl.end() ? other->second
                                                               : std::strerror(error_number);
}

std::string perror_line(std::string_view text, int error_number)
{
    return fmt::format("{}: {}\n", text, error_text(error_number));
}

::testing::AssertionResult same_bytes(ByteView actual, ByteView expected)
{
    if (actual.size() == expected.size() &&
        std::equal(actual.begin(), actual.end(), expected.begin())) {
        return ::testing::AssertionSuccess();
    }
    ::testing::AssertionResult failure = ::testing::AssertionFailure();
    failure << actual.size() << " bytes, expected " << expected.size() << '\n';
    for (size_t i = 0; i < std::max(actual.size(), expected.size()); i++) {
        int got = i < actual.size() ? actual[i] : -1;
        int wanted = i < expected.size() ? expected[i] : -1;
        if (got != wanted) {
            failure << fmt::format("  at {}: {:#04x}, expected {:#04x}\n", i, got, wanted);
        }
    }
    return failure;
}

} // namespace tspec::e2e
