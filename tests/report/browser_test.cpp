// The page in headless Chromium. Starting a browser takes long and not every
// machine has one, so these belong to the long form of the tests (TSPEC_LONG=1).
#include "../capture/pcapng_file.h"
#include "../scenario/sim_command.h"
#include "page_data.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tspec::tests {
namespace {

using nlohmann::json;
using testing::HasSubstr;

class PageInChromium : public testing::Test {
  protected:
    void SetUp() override
    {
        if (!std::getenv("TSPEC_LONG")) {
            GTEST_SKIP() << "only with TSPEC_LONG=1 (script/test --all)";
        }
        if (std::system("command -v chromium >/dev/null") != 0) {
            GTEST_SKIP() << "there is no chromium";
        }
        std::string pattern = (std::filesystem::temp_directory_path() / "browser-XXXXXX").string();
        folder_ = mkdtemp(pattern.data());
        CommandResult result =
            run_sim({"run", "--quiet", "--html", path("run.html"),
                     TSPEC_SCENARIO_FOLDER "/demo.yaml", TSPEC_SCENARIO_FOLDER "/roaming.yaml"});
        ASSERT_EQ(result.status, 0) << result.output;
        page_ = content_of(path("run.html"));
    }

    void TearDown() override
    {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }

    std::string path(const std::string &name) const { return folder_ + "/" + name; }

    std::string chromium(const std::string &options, const std::string &file) const
    {
        std::string command = fmt::format(
            "timeout 100 chromium --headless --no-sandbox --disable-gpu --disable-quic "
            "--no-first-run --disable-background-networking --disable-component-update "
            "--disable-sync --hide-scrollbars --window-size=1440,1500 --user-data-dir='{}' {} "
            "'file://{}' 2>/dev/null",
            path("profile"), options, file);
        std::FILE *pipe = popen(command.c_str(), "r");
        std::string output;
        char buffer[4096];
        while (size_t count = std::fread(buffer, 1, sizeof buffer, pipe)) {
            output.append(buffer, count);
        }
        EXPECT_EQ(pclose(pipe), 0) << command;
        return output;
    }

    // Adds a script to the page that calls tell(value), and yields the value. What
    // goes wrong in the page comes before everything else.
    json ask(const std::string &script, const std::string &options = "", bool framed = false) const
    {
        // A window is never as narrow as a telephone; a frame may be.
        std::ofstream(path("frame.html"))
            << "<iframe src='asked.html' width='390' height='800' style='border: 0'></iframe>"
               "<script>addEventListener('message', (event) => { const box = "
               "document.createElement('pre'); box.id = 'told'; box.textContent = event.data; "
               "document.body.append(box); })</script>";
        std::string page = page_;
        const std::string watch =
            "<script>const troubles = []; "
            "addEventListener('error', (event) => troubles.push(event.message)); "
            "addEventListener('securitypolicyviolation', (event) => "
            "troubles.push(event.blockedURI)); "
            "function tell(value) { const box = document.createElement('pre'); box.id = 'told'; "
            "box.textContent = btoa(unescape(encodeURIComponent("
            "JSON.stringify({troubles, value})))); document.body.append(box); "
            "parent.postMessage(box.textContent, '*'); }</script>";
        page.insert(page.find("<title>"), watch);
        page.insert(page.rfind("</body>"), "<script>" + script + "</script>");
        std::ofstream(path("asked.html")) << page;
        std::string dom =
            chromium("--dump-dom " + options, path(framed ? "frame.html" : "asked.html"));
        const std::string begin = "<pre id=\"told\">";
        size_t from = dom.find(begin);
        if (from == std::string::npos) {
            ADD_FAILURE() << "the page told nothing";
            return {};
        }
        from += begin.size();
        json told = json::parse(decoded(dom.substr(from, dom.find('<', from) - from)));
        EXPECT_EQ(told["troubles"], json::array());
        return told["value"];
    }

    const std::string &page() const { return page_; }

  private:
    // Base 64 keeps the browser's escapes out.
    static std::string decoded(const std::string &text)
    {
        const std::string digits =
            "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        std::string bytes;
        unsigned pending = 0;
        int bits = 0;
        for (char c : text) {
            if (c == '=') {
                break;
            }
            pending = pending << 6U | static_cast<unsigned>(digits.find(c));
            bits += 6;
            if (bits >= 8) {
                bits -= 8;
                bytes += static_cast<char>(pending >> static_cast<unsigned>(bits));
            }
        }
        return bytes;
    }

    std::string folder_;
    std::string page_;
};

TEST_F(PageInChromium, ShowsEveryItemOfTheRun)
{
    json data = data_of_page(page());
    json told = ask("tell({name: byId('name').textContent, verdict: byId('verdict').textContent, "
                    "rows: document.querySelectorAll('#story > li').length, "
                    "messages: document.querySelectorAll('.message').length, "
                    "lanes: [...document.querySelectorAll('#lanes .heads > span')]"
                    ".map((head) => head.textContent), "
                    "charts: document.querySelectorAll('#charts svg').length, "
                    "strips: document.querySelectorAll('#under svg g').length, "
                    "story: byId('story').textContent})");

    EXPECT_EQ(told["name"], "Who may reserve airtime");
    EXPECT_THAT(told["verdict"].get<std::string>(), HasSubstr("expectations held"));
    EXPECT_EQ(told["rows"], data["runs"][0]["items"].size());
    EXPECT_EQ(told["messages"], items_of(data, "message").size());
    EXPECT_EQ(told["lanes"], (json{"driver", "hostapd", "daemon", "mapd", "dman", "operator"}));
    EXPECT_EQ(told["charts"], 1);
    EXPECT_EQ(told["strips"], 1);
    EXPECT_THAT(told["story"].get<std::string>(),
                HasSubstr("may station 1 have airtime for voice?"));
    EXPECT_THAT(told["story"].get<std::string>(), HasSubstr("station 1, yes: 2.00 % of the air"));
    EXPECT_THAT(told["story"].get<std::string>(), HasSubstr("station 2, no: there is no room"));
}

TEST_F(PageInChromium, AClickShowsFieldsAndBytes)
{
    json told = ask("const one = [...document.querySelectorAll('.message')]"
                    ".find((button) => button.textContent.includes('ADDTS response'));"
                    "one.click(); const details = byId('details');"
                    "const shown = {expanded: one.getAttribute('aria-expanded'), "
                    "hidden: details.hidden, text: details.textContent};"
                    "one.click(); shown.hiddenAgain = details.hidden; tell(shown);");

    EXPECT_EQ(told["expanded"], "true");
    EXPECT_EQ(told["hidden"], false);
    std::string text = told["text"];
    EXPECT_THAT(text, HasSubstr("tspec_hostapd_msg_t"));
    EXPECT_THAT(text, HasSubstr("medium_time625 (2.00 %)"));
    EXPECT_THAT(text, HasSubstr("148 bytes"));
    EXPECT_THAT(text, HasSubstr("   0: 23 02 "));
    EXPECT_EQ(told["hiddenAgain"], true);
}

TEST_F(PageInChromium, WorksWithTheKeyboard)
{
    json told =
        ask("const press = (key) => document.activeElement.dispatchEvent("
            "new KeyboardEvent('keydown', {key, bubbles: true, cancelable: true}));"
            "const messages = [...document.querySelectorAll('.message')];"
            "const here = () => messages.indexOf(document.activeElement);"
            "const places = []; messages[0].focus();"
            "for (const key of ['ArrowDown', 'ArrowDown', 'ArrowUp', 'End', 'ArrowDown', 'Home']) {"
            " press(key); places.push(here()); }"
            "messages[1].click(); press('ArrowDown');"
            "const title = byId('details-title').textContent;"
            "byId('details').querySelectorAll('nav button')[1].click();"
            "const next = byId('details-title').textContent + document.activeElement.textContent;"
            "press('Escape'); tell({places, last: messages.length - 1, title, next, "
            "hidden: byId('details').hidden, back: here(), "
            "label: messages[1].getAttribute('aria-label')});");

    int last = told["last"];
    EXPECT_EQ(told["places"], (json{1, 2, 1, last, last, 0}));
    EXPECT_EQ(told["title"], "station status query");
    EXPECT_EQ(told["hidden"], true);
    EXPECT_EQ(told["next"], "frame duration?Next");
    EXPECT_EQ(told["back"], 3);
    EXPECT_THAT(told["label"].get<std::string>(),
                HasSubstr("hostapd to daemon: ADDTS request, may station 1 have airtime"));
}

TEST_F(PageInChromium, FiltersHideTheirRows)
{
    json told =
        ask("const visible = () => [...document.querySelectorAll('#story > .held')]"
            ".filter((row) => row.offsetParent).length;"
            "const box = document.querySelector('#filters input'); const before = visible();"
            "box.click(); const after = visible(); box.click();"
            "tell({before, after, again: visible()});");

    EXPECT_GT(told["before"], 0);
    EXPECT_EQ(told["after"], 0);
    EXPECT_EQ(told["again"], told["before"]);
}

TEST_F(PageInChromium, AnotherRunCanBeChosen)
{
    json told = ask("const select = byId('run'); select.value = 1;"
                    "select.dispatchEvent(new Event('change'));"
                    "tell({name: byId('name').textContent, runs: select.options.length});");

    EXPECT_EQ(told["name"], data_of_page(page())["runs"][1]["name"]);
    EXPECT_EQ(told["runs"], 2);
}

// Relative luminance and contrast as the Web Content Accessibility Guidelines
// define them; 4.5 is what they ask of text.
TEST_F(PageInChromium, IsReadableInLightAndDark)
{
    const std::string script =
        "const light = (colour) => { const [r, g, b] = colour.match(/[\\d.]+/g).map(Number)"
        ".map((c) => c / 255).map((c) => c <= 0.03928 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4);"
        "return 0.2126 * r + 0.7152 * g + 0.0722 * b; };"
        "const contrast = (a, b) => (Math.max(a, b) + 0.05) / (Math.min(a, b) + 0.05);"
        "const paper = light(getComputedStyle(document.body).backgroundColor);"
        "const worst = Math.min(...['#name', '.program', '.message b', '.message .plain', '.when',"
        " '.row.held .wide', '.message.good b', '.message.bad b', '#lanes .self', '.voice']"
        ".map((selector) => contrast(paper,"
        " light(getComputedStyle(document.querySelector(selector)).color))));"
        "tell({paper, worst});";

    json light = ask(script, "--blink-settings=preferredColorScheme=1");
    json dark = ask(script, "--blink-settings=preferredColorScheme=0");

    EXPECT_GT(light["paper"], 0.8);
    EXPECT_LT(dark["paper"], 0.1);
    EXPECT_GE(light["worst"], 4.5);
    EXPECT_GE(dark["worst"], 4.5);
}

// 390 pixels: letters that can be read, nothing that is cut off.
TEST_F(PageInChromium, FitsATelephone)
{
    json told = ask("const page = document.documentElement;"
                    "const svg = document.querySelector('#charts svg');"
                    "const size = parseFloat(getComputedStyle(svg.querySelector('text')).fontSize)"
                    " * svg.clientWidth / svg.viewBox.baseVal.width;"
                    "const right = Math.max(...[...document.querySelectorAll("
                    "'.note p, .label, .held .wide')].map((one) =>"
                    " one.getBoundingClientRect().right));"
                    "tell({width: page.clientWidth, needed: page.scrollWidth, size, right,"
                    " route: document.querySelector('.route').offsetHeight});",
                    "--virtual-time-budget=3000", true);

    EXPECT_EQ(told["width"], 390);
    EXPECT_EQ(told["needed"], 390);
    EXPECT_GE(told["size"], 10);
    EXPECT_LE(told["right"], 390);
    EXPECT_GT(told["route"], 0);
}

TEST_F(PageInChromium, DetailsStandBesideTheLanes)
{
    json told = ask("const right = (id) => byId(id).getBoundingClientRect().right;"
                    "const before = right('board');"
                    "document.querySelector('.message').click();"
                    "tell({before, lanes: right('board'),"
                    " details: byId('details').getBoundingClientRect().left});",
                    "--window-size=1400,900");

    EXPECT_GT(told["before"], 1300);
    EXPECT_LE(told["lanes"], told["details"]);
}

TEST_F(PageInChromium, TheChartNamesItsUnitAndEveryStepInTime)
{
    json told = ask("const texts = [...document.querySelectorAll('#charts text')]"
                    ".map((text) => text.textContent);"
                    "tell({unit: texts[0], missing: run.items.filter((item) =>"
                    " item.kind === 'clock' && !texts.includes(item.text)).length});");

    EXPECT_EQ(told["unit"], "units of 32 µs each second");
    EXPECT_EQ(told["missing"], 0);
}

// As the browser tells them to a screen reader.
TEST_F(PageInChromium, EverythingThatCanBeUsedHasARoleAndAName)
{
    json told = ask("document.querySelector('.message').click();"
                    "const all = [...document.querySelectorAll('button, input, select, summary, "
                    "a, svg[role], aside, nav, section')].filter((one) => one.offsetParent "
                    "|| one.matches('svg, aside, a'));"
                    "const roles = {}; for (const one of all) {"
                    " (roles[one.computedRole] ||= []).push(one.computedName); }"
                    "tell({roles, nameless: all.filter((one) => !one.computedName).length,"
                    " list: byId('story').computedRole, found: byId('found').computedRole});",
                    "--enable-blink-features=ComputedAccessibilityInfo");

    EXPECT_EQ(told["nameless"], 0);
    EXPECT_EQ(told["list"], "list");
    EXPECT_EQ(told["found"], "status");
    for (const char *role : {"button", "checkbox", "searchbox", "complementary", "navigation"}) {
        EXPECT_TRUE(told["roles"].contains(role)) << told["roles"].dump();
    }
    EXPECT_EQ(told["roles"]["complementary"], json{"configuration"});
    EXPECT_EQ(told["roles"]["searchbox"], json{"Search"});
}

TEST_F(PageInChromium, FindsWordsAndAStation)
{
    json told = ask("const seen = () => [...document.querySelectorAll('#story > li')]"
                    ".filter((row) => row.offsetParent);"
                    "const use = (id, value, event) => { byId(id).value = value;"
                    " byId(id).dispatchEvent(new Event(event)); };"
                    "use('search', 'no room', 'input');"
                    "const words = seen().map((row) => row.textContent);"
                    "const found = byId('found').textContent; use('search', '', 'input');"
                    "use('stations', '02:00:00:00:00:02', 'change');"
                    "const titles = [...document.querySelectorAll('.message')]"
                    ".filter((one) => one.offsetParent).map((one) => one.ariaLabel);"
                    "use('stations', '', 'change');"
                    "tell({words, found, titles, all: seen().length, rows: rows.length});");

    ASSERT_FALSE(told["words"].empty());
    for (const json &text : told["words"]) {
        EXPECT_THAT(text.get<std::string>(), HasSubstr("no room"));
    }
    EXPECT_EQ(told["found"],
              fmt::format("{} of {} lines", told["words"].size(), told["rows"].get<int>()));
    ASSERT_FALSE(told["titles"].empty());
    for (const json &title : told["titles"]) {
        EXPECT_THAT(title.get<std::string>(), testing::Not(HasSubstr("station 1")));
    }
    EXPECT_EQ(told["all"], told["rows"]);
}

} // namespace
} // namespace tspec::tests
