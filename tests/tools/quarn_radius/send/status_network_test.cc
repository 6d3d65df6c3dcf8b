#include "quarn_radius/send/status_network.h"

#include <gtest/gtest.h>

#include <chrono>
#include <sstream>

#include "client/scripted_network.h"

namespace quarn::quarn_radius {
namespace {

using namespace std::chrono_literals;

class StatusNetworkTest : public testing::Test {
  protected:
    /// Waits until the time has come, as a conversation does: again after each early return.
    void wait_for(client::Duration time) {
        const client::TimePoint deadline = network_.now() + time;
        while (network_.now() < deadline) {
            status_.wait({}, deadline);
        }
    }

    test::ScriptedNetwork network_;
    std::ostringstream terminal_;
    StatusNetwork status_{network_, terminal_, 10};
};

TEST_F(StatusNetworkTest, IsSilentForTwoSeconds) {
    wait_for(1999ms);
    EXPECT_EQ(terminal_.str(), "");
    status_.clear();
    EXPECT_EQ(terminal_.str(), "");
}

TEST_F(StatusNetworkTest, TellsEachSecondHowLongItWaits) {
    status_.count_answer();
    wait_for(3500ms);
    EXPECT_EQ(terminal_.str(),
              "\r\x1b[Kwaiting, 1 of 10 answered, 2 s\r\x1b[Kwaiting, 1 of 10 answered, 3 s");
    status_.clear();
    EXPECT_TRUE(terminal_.str().ends_with("3 s\r\x1b[K"));
}

TEST_F(StatusNetworkTest, ErasesNothingThatIsNotThere) {
    wait_for(2s);
    status_.clear();
    const std::string before = terminal_.str();
    status_.clear();
    EXPECT_EQ(terminal_.str(), before);
}

}  // namespace
}  // namespace quarn::quarn_radius
