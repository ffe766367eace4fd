#include "Platform/Foundation/Log.h"
#include "Support/LogRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <stdexcept>
#include <thread>

namespace orvex {
namespace {

using test::LogRecorder;
using testing::HasSubstr;

void say(const Logger& logger, LogLevel level, const std::string& text) {
    logger.log(level, "File", "call(_:)", [&] { return text; });
}

TEST(Log, LevelsHaveTheirNamesAndOrder) {
    const std::vector<std::pair<LogLevel, std::string_view>> expected = {
        {LogLevel::trace, "trace"},       {LogLevel::debug, "debug"},     {LogLevel::info, "info"},
        {LogLevel::notice, "notice"},     {LogLevel::warning, "warning"}, {LogLevel::error, "error"},
        {LogLevel::critical, "critical"}, {LogLevel::off, "off"}};
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(name(expected[i].first), expected[i].second);
        EXPECT_EQ(static_cast<std::size_t>(expected[i].first), i);
    }
}

TEST(Log, ARecordCarriesModuleFileFunctionAndMessage) {
    Logger logger("Module");
    const LogRecorder recorder(logger);
    say(logger, LogLevel::notice, "hello");
    const auto lines = recorder.lines();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].level, LogLevel::notice);
    EXPECT_EQ(lines[0].module, "Module");
    EXPECT_EQ(lines[0].file, "File");
    EXPECT_EQ(lines[0].function, "call(_:)");
    EXPECT_EQ(lines[0].message, "hello");
}

TEST(Log, ALineBelowTheLevelIsNotEvenBuilt) {
    Logger logger("Module");
    const LogRecorder recorder(logger, LogLevel::info);
    int built = 0;
    const auto message = [&] {
        ++built;
        return std::string("x");
    };
    logger.log(LogLevel::debug, "F", "f()", message);
    EXPECT_EQ(built, 0);
    logger.log(LogLevel::info, "F", "f()", message);
    EXPECT_EQ(built, 1);
    EXPECT_EQ(recorder.lines().size(), 1U);
}

TEST(Log, StartsAtWarningAndCanBeSwitchedOff) {
    Logger logger("Module");
    EXPECT_EQ(logger.level(), LogLevel::warning);
    EXPECT_FALSE(logger.isEnabled(LogLevel::notice));
    logger.setLevel(LogLevel::off);
    EXPECT_FALSE(logger.isEnabled(LogLevel::critical));
    EXPECT_FALSE(logger.isEnabled(LogLevel::off));
}

TEST(Log, TheDefaultSinkWritesOneLineOnStandardError) {
    const Logger logger("Module");
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    say(logger, LogLevel::warning, "two\nlines");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Module warning: File call(_:): two lines\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(Log, ASinkThatThrowsDoesNotStopTheCaller) {
    const Logger logger("Module");
    setLogSink([](const LogRecord&) { throw std::runtime_error("broken"); });
    EXPECT_NO_THROW(say(logger, LogLevel::error, "x"));
    setLogSink({});
}

TEST(Log, ASinkThatLogsIsNotCalledAgain) {
    const Logger logger("Module");
    int calls = 0;
    setLogSink([&](const LogRecord&) {
        ++calls;
        say(logger, LogLevel::error, "from the sink");
    });
    testing::internal::CaptureStderr();
    say(logger, LogLevel::error, "x");
    setLogSink({});
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("from the sink"));
    EXPECT_EQ(calls, 1);
}

TEST(Log, TheSinkIsCalledByOneThreadAtATime) {
    Logger logger("Module");
    int inside = 0;
    int worst = 0;
    setLogSink([&](const LogRecord&) {
        worst = std::max(worst, ++inside);
        --inside;
    });
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 500; ++i) {
                say(logger, LogLevel::error, "x");
                logger.setLevel(LogLevel::warning);
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    setLogSink({});
    EXPECT_EQ(worst, 1);
}

TEST(LogDeathTest, AFatalErrorEndsTheProcessAndSaysWhyOnStandardError) {
    EXPECT_EXIT(fatalError("the font is missing"), testing::KilledBySignal(SIGABRT),
                "Fatal error: the font is missing");
}

TEST(LogDeathTest, AFatalErrorGoesThroughTheSinkAtCriticalLevel) {
    EXPECT_DEATH(
        {
            setLogSink([](const LogRecord& r) {
                std::fprintf(stderr, "sink got %s: %s\n", std::string(name(r.level)).c_str(),
                             std::string(r.message).c_str());
            });
            fatalError("no font");
        },
        "sink got critical: no font");
}

TEST(LogDeathTest, AFatalErrorInsideTheSinkDoesNotHang) {
    const Logger logger("Module");
    EXPECT_DEATH(
        {
            setLogSink([](const LogRecord&) { fatalError("the sink is broken"); });
            say(logger, LogLevel::error, "x");
        },
        "Fatal error: the sink is broken");
}

constexpr long long largest = std::numeric_limits<long long>::max();
constexpr long long smallest = std::numeric_limits<long long>::min();

TEST(Arithmetic, GivesExactResultsUpToTheLimits) {
    EXPECT_EQ(addOrDie(largest - 1, 1, "n"), largest);
    EXPECT_EQ(addOrDie(smallest + 1, -1, "n"), smallest);
    EXPECT_EQ(multiplyOrDie(-(1LL << 31), 1LL << 31, "n"), -(1LL << 62));
    EXPECT_EQ(truncateOrDie(-1.9, "n"), -1);
    EXPECT_EQ(truncateOrDie(1.9, "n"), 1);
    EXPECT_EQ(truncateOrDie(-9223372036854775808.0, "n"), smallest);
}

TEST(ArithmeticDeathTest, OverflowIsFatalAndNamesTheQuantity) {
    EXPECT_DEATH((void)addOrDie(largest, 1, "the batch depth"), "overflow in the batch depth");
    EXPECT_DEATH((void)addOrDie(smallest, -1, "the batch depth"), "overflow in the batch depth");
    EXPECT_DEATH((void)multiplyOrDie(largest, 2, "the size"), "overflow in the size");
    EXPECT_DEATH((void)truncateOrDie(std::numeric_limits<double>::quiet_NaN(), "the width"), "the width.*nan");
    EXPECT_DEATH((void)truncateOrDie(9223372036854775808.0, "the width"), "the width does not fit");
    EXPECT_DEATH((void)truncateOrDie(-std::numeric_limits<double>::infinity(), "the width"), "the width.*-inf");
}

} // namespace
} // namespace orvex
