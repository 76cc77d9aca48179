#include "Vintra/take/UnfinishedTakes.h"

#include "Vintra/platform/SystemError.h"
#include "Vintra/take/TakeJournalText.h"

#include <charconv>

namespace vintra::UnfinishedTakes {
namespace {

constexpr std::string_view kJournalEnding = ".vintra";
constexpr size_t kMostBytes = 16 << 20; ///< of a journal: more is none

URL notesFolder(const FileManager& files) {
    return files.stateDirectory().appendingPathComponent("unfinished-takes");
}

} // namespace

URL noteURL(const FileManager& files, const std::string& id) {
    return notesFolder(files).appendingPathComponent(id);
}

std::vector<std::string> noteIDs(const FileManager& files) {
    const URL folder = notesFolder(files);
    return files.fileExists(folder) ? files.contentsOfDirectory(folder) : std::vector<std::string>{};
}

std::optional<Note> read(FileManager& files, const std::string& id) {
    const URL url = noteURL(files, id);
    if (!files.fileExists(url)) return std::nullopt;
    Note note;
    for (const auto& fields : TakeJournalText::lines(textOf(files, url))) {
        if (fields.size() != 2) continue;
        if (fields[0] == "journal") note.journal = URL::fileURL(fields[1]);
        if (fields[0] == "begun")
            std::from_chars(fields[1].data(), fields[1].data() + fields[1].size(),
                            note.begun.secondsSince1970);
        if (fields[0] == "told") note.wasTold = fields[1] == "yes";
    }
    return note.journal.isEmpty() ? std::nullopt : std::optional(note);
}

void write(FileManager& files, const std::string& id, const Note& note) {
    const std::string text =
        TakeJournalText::line({"journal", note.journal.path()}) +
        TakeJournalText::line({"begun", std::to_string(static_cast<int64_t>(note.begun.secondsSince1970))}) +
        TakeJournalText::line({"told", note.wasTold ? "yes" : "no"});
    const auto file = files.openForWriting(noteURL(files, id));
    // A longer text stood here only if it was this one with "yes" for "no".
    file->write(reinterpret_cast<const uint8_t*>(text.data()), text.size());
    file->close();
}

URL journalURL(const URL& inFolder, const std::string& take) {
    return inFolder.appendingPathComponent("." + take + std::string(kJournalEnding));
}

std::vector<URL> journals(const FileManager& files, const URL& inFolder) {
    std::vector<URL> found;
    for (const std::string& name : files.contentsOfDirectory(inFolder)) {
        if (name.size() > kJournalEnding.size() + 1 && name[0] == '.' && name.ends_with(kJournalEnding))
            found.push_back(inFolder.appendingPathComponent(name));
    }
    return found;
}

std::string textOf(FileManager& files, const URL& at) {
    const auto file = files.openForReading(at);
    std::string text;
    char piece[65'536];
    while (text.size() < kMostBytes) {
        const size_t count = file->read(reinterpret_cast<uint8_t*>(piece), sizeof piece);
        if (count == 0) break;
        text.append(piece, count);
    }
    return text;
}

} // namespace vintra::UnfinishedTakes
