// Results: files that appear only when they are complete, and standard output, which carries nothing but results.
#pragma once

#include "Platform/Foundation/Bytes.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace orvex::tool {

/// Takes standard output aside: from now on only the functions below reach it, and whatever a library prints goes to
/// standard error. Also makes sure that no file is ever opened as one of the three standard streams.
void reserveStandardOutput();

/// Writes text results. Throws Failure (outputFailed).
void printResult(std::string_view text);

/// What a result is to a terminal: nothing that it could show, or text.
enum class ResultKind { bytes, text };

/// Refuses, before any work is done, an output that cannot work out: a file that is one of the inputs, bytes on
/// standard output that is a terminal (usage), a folder that is missing or cannot be written (outputFailed).
void checkOutput(const std::string& path, const std::vector<std::string>& inputs, ResultKind kind = ResultKind::bytes);

/// The output as messages call it.
[[nodiscard]] std::string outputName(const std::string& path);

/// Lets `produce` write the file at `path`, or standard output for "-" and what the system calls it. A file is replaced
/// only when everything was written. Throws Failure (outputFailed), and what `produce` throws.
void writeOutput(const std::string& path, const std::function<void(ByteSink&)>& produce);

} // namespace orvex::tool
