#include "Support/Command.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <sys/wait.h>
#include <unistd.h>

namespace orvex::test {

namespace {

std::string contentsAndRemove(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    std::filesystem::remove(path);
    return text;
}

std::string temporaryFile() {
    std::string path = (std::filesystem::temp_directory_path() / "orvex-command-XXXXXX").string();
    const int descriptor = ::mkstemp(path.data());
    if (descriptor >= 0) {
        ::close(descriptor);
    }
    return path;
}

} // namespace

CommandResult run(const std::string& command) {
    const std::string out = temporaryFile();
    const std::string err = temporaryFile();
    const int status = std::system(("( " + command + " ) >" + quoted(out) + " 2>" + quoted(err)).c_str());
    CommandResult result;
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    result.output = contentsAndRemove(out);
    result.errors = contentsAndRemove(err);
    return result;
}

std::string quoted(const std::string& text) {
    std::string word = "'";
    for (const char c : text) {
        word += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return word + "'";
}

bool hasProgram(const std::string& name) {
    return run("command -v " + quoted(name)).exitCode == 0;
}

} // namespace orvex::test
