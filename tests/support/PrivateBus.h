#pragma once

#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

#include <string>

namespace vintra {

/// A message bus with nothing on it and that starts nothing. Ends with this object.
class PrivateBus {
public:
    const std::string& address() const { return address_; }

private:
    static constexpr const char* kConfiguration =
        "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\" "
        "\"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">"
        "<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen><auth>EXTERNAL</auth>"
        "<policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
        "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>";

    TemporaryFolder folder;
    ChildProcess server{{"dbus-daemon", "--config-file=" + folder.write("bus.conf", kConfiguration).path(),
                         "--nofork", "--nopidfile", "--print-address=1"}};
    const std::string address_ = server.readLine();
};

} // namespace vintra
