#pragma once

#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/Log.h"
#include "Vintra/platform/Platform.h"
#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/Task.h"
#include "Vintra/timeline/Take.h"
#include "Vintra/timeline/TimelineEditor.h"

#include <optional>
#include <string>

/// The documents that open a take in an editing program with every file stacked at zero. They are made from
/// the finished files alone.
namespace vintra::TimelineFile {

/// Probes the files one after another. One that can't be probed, or whose duration is not above zero, is left
/// out. Blocks on the files; any thread.
Take inventory(const TakeFiles& files, AssetProbing& probing, const FileManager& fileManager);

/// The text for an editor other than none. The take's order is not empty.
std::string document(const Take& take, TimelineEditor forEditor);
/// "fcpxml", "otio" or "xml".
std::string pathExtension(TimelineEditor forEditor);

/// Writes the document into the take's folder, in the place of an older one. Throws `SystemError`. Any
/// thread.
URL writeDocument(const Take& take, TimelineEditor forEditor, FileManager& fileManager, Log& log);

/// Takes the inventory and writes the document. Nothing, and no file, for `TimelineEditor::none` and for a
/// take without a usable file. Throws `SystemError` if the file can't be written. Blocks on the files; any
/// thread.
std::optional<URL> writeBlocking(const TakeFiles& files, TimelineEditor forEditor, AssetProbing& probing,
                                 FileManager& fileManager, Log& log);

/// `writeBlocking` off the main thread, on a global queue. Main thread.
Task<std::optional<URL>> write(TakeFiles files, TimelineEditor forEditor, Platform platform);

/// The warning for a take whose document could not be written.
std::string couldNotBeSaved(TimelineEditor forEditor, const SystemError& error);

} // namespace vintra::TimelineFile
