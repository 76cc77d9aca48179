#include "Vintra/take/RecoveredTake.h"

#include "Vintra/take/Words.h"

namespace vintra {
namespace {

std::string inQuotes(const std::string& text) {
    return "“" + text + "”";
}

std::string quotedList(const std::vector<std::string>& names) {
    std::vector<std::string> quoted;
    for (const std::string& name : names)
        quoted.push_back(inQuotes(name));
    return naturalList(quoted, "and");
}

} // namespace

std::string RecoveredTake::text() const {
    const std::string place = inQuotes(take) + " in " + inQuotes(folder.path());
    if (problem) {
        return "Your last take was cut off, and it can't be put in order yet: " + *problem +
               " What was recorded is " + place + ". Vintra tries again when it starts next.";
    }
    std::string result;
    if (usableFiles == 0) {
        result = "Your last take was cut off before anything was recorded: " + place + " holds nothing.";
    } else {
        result = "Your last take was cut off; what was recorded until then is " + place + ": " +
                 std::to_string(usableFiles) + (usableFiles == 1 ? " file" : " files, lined up");
        result += timeline ? ", and a timeline for " + displayName(editor) + "." : ".";
        if (!empty.empty())
            result += " " + quotedList(empty) + (empty.size() == 1 ? " holds" : " hold") + " nothing.";
    }
    if (!unplaced.empty()) {
        result += " When " + quotedList(unplaced) + (unplaced.size() == 1 ? " begins" : " begin") +
                  " wasn't noted any more: line up what is in there by ear.";
    }
    if (!unmended.empty()) {
        result += " " + quotedList(unmended) + (unmended.size() == 1 ? " plays" : " play") +
                  " in most programs, but couldn't be finished as an ordinary movie.";
    }
    if (!missing.empty()) {
        const bool one = missing.size() == 1;
        result += " " + quotedList(missing) + (one ? " isn't" : " aren't") + " there: put " +
                  (one ? "it" : "them") + " back beside the others and run vintra-take --recover " +
                  inQuotes(folder.path()) + ".";
    }
    return result;
}

} // namespace vintra
