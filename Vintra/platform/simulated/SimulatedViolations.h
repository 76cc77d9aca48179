#pragma once

#include <string>
#include <utility>
#include <vector>

namespace vintra {

/// Calls that broke the contract of an interface without being refused by it: a test asserts that the list is
/// empty. Shared by the services of one machine. One real thread.
class SimulatedViolations {
public:
    void add(std::string text) { list.push_back(std::move(text)); }

    std::vector<std::string> list;
};

} // namespace vintra
