#pragma once

#include "Vintra/platform/linux/updates/PackageKitTransaction.h"

#include <string>

namespace vintra {

/// What PackageKit's answers mean to the user. Any thread.
namespace PackageKitWords {

/// One sentence.
std::string sentenceOf(const PackageKitTransaction::Failure& failure);

/// Whether the installed package "name;version;architecture;origin" is one of a repository's, which then updates it.
bool isFromRepository(const std::string& package);

} // namespace PackageKitWords
} // namespace vintra
