// The subcommands: each adds itself to the command line and says how it runs.
#pragma once

#include <CLI/App.hpp>

#include <functional>

namespace orvex::tool {

struct Command {
    CLI::App* app = nullptr;   ///< what was parsed tells whether it was asked for
    std::function<void()> run; ///< throws Failure
};

[[nodiscard]] Command addMake(CLI::App& tool);
[[nodiscard]] Command addOptimize(CLI::App& tool);
[[nodiscard]] Command addDiagnose(CLI::App& tool);
[[nodiscard]] Command addImages(CLI::App& tool);
[[nodiscard]] Command addInfo(CLI::App& tool);
[[nodiscard]] Command addPages(CLI::App& tool);
[[nodiscard]] Command addSqueeze(CLI::App& tool);
[[nodiscard]] Command addRender(CLI::App& tool);
[[nodiscard]] Command addThumbnail(CLI::App& tool);
[[nodiscard]] Command addWatermark(CLI::App& tool);
[[nodiscard]] Command addFound(CLI::App& tool);
[[nodiscard]] Command addText(CLI::App& tool);
[[nodiscard]] Command addTextLayer(CLI::App& tool);

} // namespace orvex::tool
