// What a host can set: the log, the question, the name; and the copy of messages.
#include <gtest/gtest.h>

#include <cstring>
#include <iostream>
#include <sstream>

#include "base/CopyMessage.h"
#include "host/Log.h"
#include "host/NvSystemInfo.h"
#include "host/Question.h"

TEST(Log, GoesToClogUntilAHostSetsAnotherWay) {
    std::ostringstream caught;
    std::streambuf* before = std::clog.rdbuf(caught.rdbuf());
    Log::WriteMessage("Section", "Key", "text", 3);
    std::clog.rdbuf(before);
    EXPECT_EQ(caught.str(), "Section/Key: text\n");
}

TEST(Log, GoesToTheHostsFunction) {
    Log::Message last{};
    Log::SetHandler([&](const Log::Message& message) { last = message; });
    Log::WriteMessage("Section", "Key", "text", 3, "detail");
    Log::SetHandler({});
    EXPECT_EQ(last.section, "Section");
    EXPECT_EQ(last.key, "Key");
    EXPECT_EQ(last.text, "text");
    EXPECT_EQ(last.importance, 3);
    EXPECT_EQ(last.detail, "detail");
}

TEST(Question, IsYesUntilAHostAsks) {
    EXPECT_TRUE(Question::Ask("Go on?"));
    std::string asked;
    Question::SetHandler([&](const std::string& text) {
        asked = text;
        return false;
    });
    EXPECT_FALSE(Question::Ask("Go on?"));
    EXPECT_EQ(asked, "Go on?");
    Question::SetHandler({});
}

TEST(NvSystemInfo, HasDefaultsThatAHostChanges) {
    EXPECT_EQ(NvSystemInfo::GetApplicationName(), "KARTA");
    NvSystemInfo::SetApplicationName("Other");
    EXPECT_EQ(NvSystemInfo::GetApplicationName(), "Other");
    NvSystemInfo::SetApplicationName("KARTA");
    EXPECT_EQ(NvSystemInfo::GetInflateLimit(), 1ULL << 30);
}

TEST(CopyMessage, CutsAndAlwaysEnds) {
    char buffer[8];
    std::memset(buffer, 'x', sizeof buffer);
    CopyMessage("message", buffer, 4);
    EXPECT_STREQ(buffer, "mes");
    EXPECT_EQ(buffer[4], 'x');
    CopyMessage("message", buffer, 1);
    EXPECT_STREQ(buffer, "");
    CopyMessage("message", buffer, 8);
    EXPECT_STREQ(buffer, "message");
    std::memset(buffer, 'x', sizeof buffer);
    CopyMessage("message", buffer, 0);
    EXPECT_EQ(buffer[0], 'x');
}
