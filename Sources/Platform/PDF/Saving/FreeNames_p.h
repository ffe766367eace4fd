// Names of which a file may have each once: of fields, attached files, identified tags.
#pragma once

#include <map>
#include <set>
#include <string>

namespace orvex {

class FreeNames {
public:
    void take(const std::string& name) { taken_.insert(name); }
    /// Takes `name`, or the first of `name`_2, `name`_3, ... that is free. The next search goes on from there, so that
    /// many of one name cost no more than others.
    [[nodiscard]] std::string takeFree(const std::string& name) {
        int& number = lastNumbers_.try_emplace(name, 1).first->second;
        std::string candidate = name;
        while (!taken_.insert(candidate).second) {
            candidate = name + "_" + std::to_string(++number);
        }
        return candidate;
    }

private:
    std::set<std::string> taken_;
    std::map<std::string, int> lastNumbers_;
};

} // namespace orvex
