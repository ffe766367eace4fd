// Runs the real tool on files of a folder of the test's own, and looks at what came out with other people's tools.
#pragma once

#include "Platform/Foundation/Bytes.h"
#include "Support/Command.h"
#include "Support/Places.h"
#include "Support/TempFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace orvex::test {

inline const std::string toolPath = (programFolder() / "orvexpdf").string();
/// The tool as a command of the shell, on one core only: what it does takes as long on any machine.
inline std::string onOneCore() {
    return "taskset -c $(taskset -cp $$ | sed 's/.*: //; s/[-,].*//') " + quoted(toolPath);
}
inline const std::filesystem::path sampleScans = projectFolder() / "Examples/scans";

/// What the documented exit codes mean.
enum Exit { done = 0, other = 1, usage = 2, unreadable = 3, unusable = 4, locked = 5, notWritten = 6 };

/// Each test works in a folder of its own; commands run there.
class ToolTest : public testing::Test {
protected:
    [[nodiscard]] std::string path(const std::string& name) const { return (folder_.path() / name).string(); }
    /// Runs `command`, in which "orvexpdf" stands for the tool, in the folder.
    [[nodiscard]] CommandResult shell(const std::string& command) const {
        return run("cd " + quoted(folder_.path().string()) + " && orvexpdf() { " + quoted(toolPath) + " \"$@\"; } && " +
                   command);
    }
    [[nodiscard]] CommandResult tool(const std::string& arguments) const { return shell("orvexpdf " + arguments); }
    /// The same, expected to work and to print nothing but its report.
    std::string toolOutput(const std::string& arguments) const {
        const auto result = tool(arguments);
        EXPECT_EQ(result.exitCode, done) << arguments << "\n" << result.errors;
        return result.output;
    }
    /// What another tool prints; fails the test when it fails.
    std::string oracle(const std::string& command) const {
        const auto result = shell(command);
        EXPECT_EQ(result.exitCode, 0) << command << "\n" << result.output << result.errors;
        return result.output;
    }
    void write(const std::string& name, std::string_view contents) const {
        std::ofstream(path(name), std::ios::binary) << contents;
    }
    void write(const std::string& name, const Bytes& contents) const { write(name, contents.text()); }
    [[nodiscard]] Bytes read(const std::string& name) const { return readFile(path(name)); }
    void copySample(const std::string& sample, const std::string& name) const {
        std::filesystem::copy_file(sampleScans / sample, path(name));
    }
    [[nodiscard]] bool exists(const std::string& name) const { return std::filesystem::exists(path(name)); }
    /// All names in the folder, hidden ones too.
    [[nodiscard]] std::vector<std::string> names() const {
        std::vector<std::string> list;
        for (const auto& entry : std::filesystem::directory_iterator(folder_.path())) {
            list.push_back(entry.path().filename().string());
        }
        std::sort(list.begin(), list.end());
        return list;
    }
    /// Runs `command` in the shell and expects this exit code, one line on standard error that holds every one of
    /// `parts`, nothing on standard output, and no file more or less than before.
    void expectRefusal(const std::string& command, int code, const std::vector<std::string>& parts) const {
        const auto before = names();
        const auto result = shell(command);
        EXPECT_EQ(result.exitCode, code) << command << "\n" << result.errors;
        EXPECT_EQ(result.output, "") << command;
        EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << command << "\n" << result.errors;
        EXPECT_THAT(result.errors, testing::StartsWith("orvexpdf: ")) << command;
        for (const auto& part : parts) {
            EXPECT_THAT(result.errors, testing::HasSubstr(part)) << command;
        }
        EXPECT_EQ(names(), before) << command;
    }
    /// qpdf finds nothing wrong with the file.
    void expectSound(const std::string& name) const {
        const auto result = shell("qpdf --check " + quoted(name));
        EXPECT_EQ(result.exitCode, 0) << result.output << result.errors;
    }
    [[nodiscard]] int pageCount(const std::string& name) const {
        return std::stoi("0" + oracle("qpdf --show-npages " + quoted(name)));
    }
    /// A line of pdfinfo's report, without its label.
    [[nodiscard]] std::string pdfinfo(const std::string& name, const std::string& label, int page = 1) const {
        const auto number = std::to_string(page);
        auto text = oracle("pdfinfo -f " + number + " -l " + number + " " + quoted(name) + " | sed -n 's/^" + label +
                           ": *//p'");
        return text.substr(0, text.find('\n'));
    }

private:
    TempFolder folder_;
};

/// The JPEG with an EXIF segment that states an orientation.
inline Bytes withOrientation(const Bytes& jpeg, int orientation) {
    const std::string tiff = std::string("MM\0*\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0", 19) +
                             static_cast<char>(orientation) + std::string(6, '\0');
    const std::string exif = std::string("Exif\0\0", 6) + tiff;
    const auto length = exif.size() + 2;
    const std::string segment =
        std::string("\xff\xe1") + static_cast<char>(length / 256) + static_cast<char>(length % 256) + exif;
    return Bytes(std::string(jpeg.text().substr(0, 2)) + segment + std::string(jpeg.text().substr(2)));
}

} // namespace orvex::test
