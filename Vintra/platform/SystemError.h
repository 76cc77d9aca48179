#pragma once

#include <exception>
#include <string>
#include <utility>

namespace vintra {

/// An error of the machine: which part of it, its number there, and a sentence for the user. Backends make
/// them, the core only passes them on. A value: any thread.
class SystemError : public std::exception {
public:
    SystemError(std::string domain, int code, std::string localizedDescription)
        : domain_(std::move(domain))
        , code_(code)
        , localizedDescription_(std::move(localizedDescription)) {}

    /// The part of the machine: "posix", "libav", "x11", "pipewire".
    const std::string& domain() const { return domain_; }
    int code() const { return code_; }
    /// A sentence for the user that says what failed and, where there is something to do, what.
    const std::string& localizedDescription() const { return localizedDescription_; }
    const char* what() const noexcept override { return localizedDescription_.c_str(); }

private:
    std::string domain_;
    int code_;
    std::string localizedDescription_;
};

} // namespace vintra
