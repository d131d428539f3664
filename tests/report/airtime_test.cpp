// Airtime in the course of a run, out of the two places that tell it.
#include "sim/report/airtime.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tspec::tests {
namespace {

using namespace tspec::sim;
using report::Airtime;
using scenario::Admitted;
using scenario::Load;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr size_t voice = TSPEC_AC_VO;
constexpr size_t video = TSPEC_AC_VI;
constexpr Duration at_once{0};

Load voice_on_wlan0(uint32_t now, uint32_t limit)
{
    Load load{};
    load[0][voice] = {now, limit};
    return load;
}

Event ap_state(uint8_t managed)
{
    return {.kind = Kind::to_daemon, .data = {6, 1, managed}};
}

Event status(uint8_t ac, uint32_t on_wlan0, uint32_t on_wlan1 = 0)
{
    tspec_mapd_status_msg_t message{};
    message.msg_type = TSPEC_MAPD_STATUS_MSG;
    message.cmd = TSPEC_MAPD_STATUS_CMD;
    message.ac_idx = ac;
    message.radio[0].med_time_admitted = on_wlan0;
    message.radio[1].med_time_admitted = on_wlan1;
    return {.kind = Kind::from_daemon, .peer = Peer::mapd, .data = bytes_of_wire(message)};
}

auto point(size_t item, uint32_t now, uint32_t limit)
{
    return testing::AllOf(testing::Field(&Airtime::Point::item, item),
                          testing::Field(&Airtime::Point::figures, Admitted{now, limit}));
}

TEST(AirtimeTest, NothingIsToldOfCategoriesWithoutAirtime)
{
    Airtime airtime;
    airtime.take(voice_on_wlan0(0, 937), 4, at_once);

    EXPECT_THAT(airtime.points(0, video), IsEmpty());
    EXPECT_THAT(airtime.points(1, voice), IsEmpty());
    EXPECT_THAT(airtime.points(0, voice), ElementsAre(point(4, 0, 937)));
}

TEST(AirtimeTest, ChangesOfTheAccountMakePoints)
{
    Airtime airtime;
    airtime.take(voice_on_wlan0(0, 937), 1, at_once);
    airtime.take(voice_on_wlan0(625, 937), 2, std::chrono::seconds(1));
    airtime.take(voice_on_wlan0(625, 937), 3, std::chrono::seconds(2));
    airtime.take(voice_on_wlan0(625, 1250), 4, std::chrono::seconds(3));

    EXPECT_THAT(airtime.points(0, voice),
                ElementsAre(point(1, 0, 937), point(2, 625, 937), point(4, 625, 1250)));
    EXPECT_EQ(airtime.points(0, voice)[1].time, std::chrono::seconds(1));
}

TEST(AirtimeTest, StatusMessagesCountWhileTheAccessPointIsManaged)
{
    Airtime airtime;
    airtime.take(voice_on_wlan0(312, 937), 1, at_once);
    airtime.take(ap_state(1), 2, at_once);
    airtime.take(status(voice, 312), 3, at_once);
    airtime.take(status(voice, 937, 100), 4, at_once);

    EXPECT_THAT(airtime.points(0, voice), ElementsAre(point(1, 312, 937), point(4, 937, 937)));
    EXPECT_THAT(airtime.points(1, voice), ElementsAre(point(4, 100, 0)));
}

TEST(AirtimeTest, TheAccountCountsAgainAfterwards)
{
    Airtime airtime;
    airtime.take(voice_on_wlan0(312, 937), 1, at_once);
    airtime.take(ap_state(1), 2, at_once);
    airtime.take(status(voice, 937), 3, at_once);
    airtime.take(ap_state(0), 4, at_once);
    airtime.take(status(voice, 937), 5, at_once);

    EXPECT_THAT(airtime.points(0, voice),
                ElementsAre(point(1, 312, 937), point(3, 937, 937), point(4, 312, 937)));
}

TEST(AirtimeTest, WhileManagedTheAccountTellsTheLimitOnly)
{
    Airtime airtime;
    airtime.take(ap_state(1), 0, at_once);
    airtime.take(voice_on_wlan0(500, 937), 1, at_once);

    EXPECT_THAT(airtime.points(0, voice), ElementsAre(point(1, 0, 937)));
}

TEST(AirtimeTest, StatesThatTheDaemonDoesNotTakeChangeNothing)
{
    Event unread = ap_state(1);
    unread.delivered = false;
    Event longer = ap_state(1);
    longer.data.push_back(0);
    Airtime airtime;
    for (const Event &event : {unread, longer, ap_state(2)}) {
        airtime.take(event, 0, at_once);
    }
    airtime.take(voice_on_wlan0(312, 937), 1, at_once);

    EXPECT_THAT(airtime.points(0, voice), ElementsAre(point(1, 312, 937)));
}

TEST(AirtimeTest, NothingIsAdmittedOnceTheDaemonHasEnded)
{
    Airtime airtime;
    airtime.take(voice_on_wlan0(312, 937), 1, at_once);
    airtime.take(ap_state(1), 2, at_once);
    airtime.take(Event{.kind = Kind::process_end, .detail = ProcessEnd{}}, 3, at_once);
    airtime.take(voice_on_wlan0(5, 10), 4, at_once);

    EXPECT_THAT(airtime.points(0, voice),
                ElementsAre(point(1, 312, 937), point(3, 0, 0), point(4, 5, 10)));
}

TEST(AirtimeTest, OneItemMakesOnePoint)
{
    Airtime airtime;
    airtime.take(voice_on_wlan0(1, 10), 7, at_once);
    airtime.take(voice_on_wlan0(2, 10), 7, at_once);

    EXPECT_THAT(airtime.points(0, voice), ElementsAre(point(7, 2, 10)));
}

} // namespace
} // namespace tspec::tests
