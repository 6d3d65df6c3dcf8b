#include "quarn/utils/app.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "testing/warnings.h"

namespace quarn {
namespace {

using test::Warning;
using test::WarningRecorder;

TEST(AppWarn, HandsMessageAndFieldsToTheHandlerInTheirOrder) {
    const WarningRecorder recorder;
    App::warn("invalid RADIUS code path", {{"file", "a.yaml"}, {"line", "12"}, {"attribute", "X"}});
    const std::vector<Warning> wanted = {
        {"invalid RADIUS code path", {{"file", "a.yaml"}, {"line", "12"}, {"attribute", "X"}}}};
    EXPECT_EQ(recorder.warnings(), wanted);
}

TEST(AppWarn, KeepsTheOrderOfWarnings) {
    const WarningRecorder recorder;
    App::warn("first", {});
    App::warn("second", {});
    App::warn("first", {});
    const std::vector<Warning> wanted = {{"first", {}}, {"second", {}}, {"first", {}}};
    EXPECT_EQ(recorder.warnings(), wanted);
}

TEST(AppWarn, IsSilentWithoutAHandler) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_NO_THROW(App::warn("nobody listens", {{"file", "a.yaml"}}));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(AppIsHeard, TellsWhetherThisThreadHasAHandler) {
    EXPECT_FALSE(App::is_heard());
    {
        const WarningRecorder recorder;
        EXPECT_TRUE(App::is_heard());
        bool is_heard_elsewhere = true;
        std::thread([&] { is_heard_elsewhere = App::is_heard(); }).join();
        EXPECT_FALSE(is_heard_elsewhere);
    }
    EXPECT_FALSE(App::is_heard());
}

TEST(AppWarningHandler, HearsNothingFromBeforeItsTime) {
    App::warn("too early", {});
    const WarningRecorder recorder;
    EXPECT_TRUE(recorder.warnings().empty());
}

TEST(AppWarningHandler, HearsNothingAfterItsEnd) {
    std::vector<std::string> heard;
    {
        const App::WarningHandler handler(
            [&heard](std::string_view message, const App::Fields&) { heard.emplace_back(message); });
        App::warn("in time", {});
    }
    App::warn("too late", {});
    EXPECT_EQ(heard, std::vector<std::string>{"in time"});
}

TEST(AppWarningHandler, AloneHearsWhileItIsTheInnermost) {
    const WarningRecorder outer;
    App::warn("before", {});
    {
        const WarningRecorder inner;
        App::warn("within", {});
        EXPECT_EQ(inner.warnings(), (std::vector<Warning>{{"within", {}}}));
    }
    App::warn("after", {});
    EXPECT_EQ(outer.warnings(), (std::vector<Warning>{{"before", {}}, {"after", {}}}));
}

TEST(AppWarningHandler, DoesNotHearOtherThreads) {
    const WarningRecorder recorder;
    std::vector<Warning> heard_there;
    std::thread other([&heard_there] {
        App::warn("discarded there", {});
        const WarningRecorder recorder_there;
        App::warn("from there", {});
        heard_there = recorder_there.warnings();
    });
    other.join();
    App::warn("from here", {});
    EXPECT_EQ(heard_there, (std::vector<Warning>{{"from there", {}}}));
    EXPECT_EQ(recorder.warnings(), (std::vector<Warning>{{"from here", {}}}));
}

}  // namespace
}  // namespace quarn
