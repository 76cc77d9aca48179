#pragma once

#include <string>

namespace vintra {

/// Which addresses the program may ask. Any thread.
namespace WebAddress {

enum class PlainHTTP { refused, onLoopback };

/// Whether it is one of https, or, where that is let through, of plain HTTP on this machine itself.
bool isAllowed(const std::string& address, PlainHTTP plainHTTP);
/// Whether it is one of plain HTTP.
bool isPlain(const std::string& address);

} // namespace WebAddress
} // namespace vintra
