// What the calendar says plays no part in what is written.
#include "Faults/FaultyTool.h"

namespace orvex::test {
namespace {

class CalendarTest : public FaultyToolTest {
protected:
    [[nodiscard]] Bytes madeIn(const std::string& environment, const SavingCommand& command) const {
        const auto before = command.target == "doc.pdf" ? read("doc.pdf") : Bytes();
        const auto result = shell("env LD_PRELOAD=" + quoted((programFolder() / "libfaulty_system.so").string()) + " " +
                                  environment + " " + quoted(toolPath) + " " + command.arguments);
        EXPECT_EQ(result.exitCode, done) << environment << result.errors;
        auto made = read(command.target);
        if (!before.empty()) {
            write("doc.pdf", before);
        }
        return made;
    }
};

TEST_F(CalendarTest, NeitherTheClockNorTheTimeZoneNorTheLocaleChangeWhatIsWritten) {
    for (const auto& command : savingCommands) {
        const Bytes expected = madeIn("FAULT_TIME=1700000000", command);
        for (const char* environment :
             {"FAULT_TIME=-2208988800", "FAULT_TIME=0", "FAULT_TIME=2147483648", "FAULT_TIME=253402300800",
              "FAULT_TIME=9223372036854775807", "TZ=Pacific/Kiritimati", "TZ=:/nowhere", "TZ=QQQ-99:99",
              "LC_ALL=de_DE.UTF-8", "LC_ALL=C LANG=C", "LC_ALL=tr_TR.UTF-8"}) {
            EXPECT_EQ(madeIn(environment, command), expected) << command.name << " " << environment;
        }
    }
}

} // namespace
} // namespace orvex::test
