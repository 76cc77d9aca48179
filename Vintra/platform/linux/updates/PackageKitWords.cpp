#include "Vintra/platform/linux/updates/PackageKitWords.h"

#include "Vintra/platform/UTF8.h"

namespace vintra::PackageKitWords {

std::string sentenceOf(const PackageKitTransaction::Failure& failure) {
    using Error = PackageKitTransaction::Error;
    if (failure.is(Error::noPackageKit)) {
        return "PackageKit, which installs and removes packages, doesn't answer; install the package “packagekit” and "
               "try again.";
    }
    if (failure.is(Error::notAuthorized) || failure.is(Error::cancelled))
        return "The password wasn't given, so nothing was changed.";
    if (failure.is(Error::anotherInstalls))
        return "Another program is installing packages; try again when it has ended.";
    if (failure.is(Error::noSpace)) return "The disk is full; make room and try again.";
    std::string details = failure.details.substr(0, failure.details.find('\n'));
    if (details.size() > 300) details.resize(300);
    while (details.ends_with('.') || details.ends_with(' '))
        details.pop_back();
    return "The package service refused (" + printable(details) + ").";
}

bool isFromRepository(const std::string& package) {
    const size_t last = package.rfind(';');
    if (last == std::string::npos) return false;
    std::string origin = package.substr(last + 1);
    // "installed:", "manual:" and "auto:" say how it came here, not from where.
    if (const size_t colon = origin.find(':'); colon != std::string::npos) origin.erase(0, colon + 1);
    return !origin.empty() && origin != "local" && origin != "installed" && origin != "invalid";
}

} // namespace vintra::PackageKitWords
