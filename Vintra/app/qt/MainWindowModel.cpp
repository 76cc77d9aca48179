#include "Vintra/app/qt/MainWindowModel.h"

#include "Vintra/app/ContentView.h"
#include "Vintra/app/qt/QtStrings.h"
#include "Vintra/take/ScreenRecorderManager.h"

#include <utility>

namespace vintra {

MainWindowModel::MainWindowModel(ContentView& view, const AppSurroundings& surroundings,
                                 AppCommandsModel& commands, WindowInPicture& inPicture,
                                 Published<bool>& isQuitting, std::function<void()> quit)
    : view(view)
    , surroundings(surroundings)
    , commandsModel(commands)
    , inPicture(inPicture)
    , isQuitting(isQuitting)
    , quitProgram(std::move(quit))
    , statusStripModel(view.statusStrip)
    , cardsModel(view.cards, surroundings.feedbackAsk)
    , tracksModel(view.tracksSection, this->surroundings)
    , outputModel(view.outputSection)
    , statusModel(view.statusIndicator)
    , recordButtonModel(view.take, [&view] { view.toggleRecording(); }) {
    const auto tell = [this](const auto&) { Q_EMIT changed(); };
    observations = {view.bugButtonTitle.observe(tell), view.diagnostics.diagnosticsCopied.observe(tell),
                    surroundings.recorder.isRecording.observe(tell), inPicture.state.observe(tell),
                    isQuitting.observe(tell)};
}

MainWindowModel::~MainWindowModel() = default;

QString MainWindowModel::title() const {
    return ContentView::kTitle;
}

QString MainWindowModel::subtitle() const {
    return ContentView::kSubtitle;
}

QString MainWindowModel::windowTitle() const {
    return *surroundings.recorder.isRecording ? "\u25cf Recording \u2014 " + title() : title();
}

QString MainWindowModel::logoImage() const {
    return ContentView::kLogoImage;
}

QString MainWindowModel::bugImage() const {
    return ContentView::kBugImage;
}

QString MainWindowModel::bugTitle() const {
    return qString(*view.bugButtonTitle);
}

bool MainWindowModel::isBugTitlePlain() const {
    return !*view.diagnostics.diagnosticsCopied;
}

QString MainWindowModel::tracksTitle() const {
    return TrackTexts::tracks;
}

QString MainWindowModel::closingNote() const {
    return *isQuitting ? "Saving the recording, then quitting" : "";
}

void MainWindowModel::showMarkerHelp(Published<std::string>& note) {
    markerNote = qString(*note);
    observations.push_back(note.observe([this](const std::string& text) {
        markerNote = qString(text);
        Q_EMIT changed();
    }));
}

void MainWindowModel::setHeightLimit(double newLimit) {
    if (std::exchange(limit, newLimit) != newLimit) Q_EMIT heightLimitChanged();
}

void MainWindowModel::openBugReport() {
    view.openBugReport();
}

} // namespace vintra
