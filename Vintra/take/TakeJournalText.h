#pragma once

#include "Vintra/take/TakeRecord.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// The text of a take's journal: one fact to a line, each with a sum of itself at its end. A line that a crash has
/// torn, or a disk has spoilt, is passed over, and those before and behind it count. Facts may come in any order but
/// for the first, which is the form's version.
///
///     vintra-take 1 #3f0c2a11
///     take session_2026-11-21_071944 #...
///     file sound session_2026-11-21_071944_mic.wav #...
///     start 81234567890 1000000000 #...
///
/// Pure functions: any thread.
namespace vintra::TakeJournalText {

// Whole lines, with a line feed behind.

/// What is known before the take starts: all of the record but for its times, markers and sizes.
std::string head(const TakeRecord& record);
std::string commonStart(CMTime time);
std::string firstStamp(const std::string& file, CMTime time);
std::string marker(double seconds);
std::string sizeBeforePadding(const std::string& file, uint64_t bytes);

/// The fields as one line.
std::string line(const std::vector<std::string>& fields);
/// The fields of every whole line, in order.
std::vector<std::vector<std::string>> lines(const std::string& text);

/// What the reader of a journal learns.
struct Parsed {
    bool isFromNewerProgram = false; ///< in a form that this program doesn't know
    TakeRecord record;
};

/// Nothing if the text is no journal, or ends before the take's name.
std::optional<Parsed> parse(const std::string& text);

} // namespace vintra::TakeJournalText
