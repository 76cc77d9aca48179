#pragma once

#include "Vintra/platform/Desktop.h"
#include "Vintra/platform/EventLoop.h"
#include "Vintra/platform/linux/desktop/MainThreadBus.h"
#include "Vintra/platform/linux/desktop/PortalRequest.h"
#include "Vintra/platform/linux/desktop/ProgramLaunch.h"

#include <functional>
#include <list>
#include <memory>
#include <string>

namespace vintra {

/// The desktop of a Linux session: its portal and its file manager on the session bus, else `xdg-open`. Nothing waits
/// for them. What fails is told in a sentence. Main thread.
class LinuxDesktop final : public Desktop {
public:
    /// What only the toolkit of the windows can do. Every function may be empty.
    struct Toolkit {
        std::function<void(const std::string& text)> copyToPasteboard;
        /// Of the window in front of which a panel of the desktop's is to stand, as portals write it: "x11:2a00007".
        std::function<std::string()> parentWindow;
        /// A panel of the toolkit's own, for desktops that have none.
        std::function<void(const std::string& title, const URL& startingAt,
                           std::function<void(const URL&)> onChosen)>
            chooseFolder;
        /// What failed, a sentence for the user.
        std::function<void(const std::string& sentence)> failed;
    };

    /// All outlive this.
    LinuxDesktop(EventLoop& loop, MainThreadBus& sessionBus, Toolkit toolkit);

    void copyToPasteboard(const std::string& text) override;
    void openAddress(const std::string& address) override;
    void showInFileBrowser(const URL& item) override;
    void chooseFolder(const std::string& title, const URL& startingAt,
                      std::function<void(const URL&)> onChosen) override;

private:
    /// Something that was asked for and isn't answered yet.
    struct Pending {
        BusSlot slot;
        std::unique_ptr<PortalRequest> request;
        std::unique_ptr<ProgramLaunch> launch;
    };
    using PendingPlace = std::list<Pending>::iterator;

    PendingPlace begin();
    /// Later, since whatever has ended may be in the middle of telling it.
    void end(PendingPlace place);
    void openByProgram(const std::string& what, const std::string& sentence);
    void fail(const std::string& sentence);

    EventLoop& loop;
    MainThreadBus& bus;
    const Toolkit toolkit;
    std::list<Pending> pending;
    bool isChoosing = false;
    const std::shared_ptr<int> life = std::make_shared<int>();
};

} // namespace vintra
