#pragma once

#include <QString>
#include <string>

namespace vintra {

inline QString qString(const std::string& text) {
    return QString::fromStdString(text);
}

} // namespace vintra
