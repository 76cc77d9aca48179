#pragma once

#include "Vintra/app/AppSurroundings.h"
#include "Vintra/app/WindowInPicture.h"
#include "Vintra/app/qt/AppCommandsModel.h"
#include "Vintra/app/qt/CardsModel.h"
#include "Vintra/app/qt/OutputSectionModel.h"
#include "Vintra/app/qt/RecordButtonModel.h"
#include "Vintra/app/qt/StatusIndicatorModel.h"
#include "Vintra/app/qt/StatusStripModel.h"
#include "Vintra/app/qt/TracksModel.h"
#include "Vintra/platform/Published.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>
#include <functional>
#include <vector>

namespace vintra {

class ContentView;

/// The main window for its QML file: `ContentView` in the toolkit's terms. Owned by `QtProgram`; windows come and go.
/// Main thread.
class MainWindowModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QString subtitle READ subtitle CONSTANT)
    Q_PROPERTY(QString windowTitle READ windowTitle NOTIFY changed)
    Q_PROPERTY(QString logoImage READ logoImage CONSTANT)
    Q_PROPERTY(QString bugImage READ bugImage CONSTANT)
    Q_PROPERTY(QString bugTitle READ bugTitle NOTIFY changed)
    Q_PROPERTY(bool isBugTitlePlain READ isBugTitlePlain NOTIFY changed)
    Q_PROPERTY(QString tracksTitle READ tracksTitle CONSTANT)
    Q_PROPERTY(QString closingNote READ closingNote NOTIFY changed)
    Q_PROPERTY(QString markerHelp READ markerHelp NOTIFY changed)
    Q_PROPERTY(bool isInPicture READ isInPicture NOTIFY changed)
    Q_PROPERTY(bool minimizes READ minimizes WRITE setMinimizes NOTIFY changed)
    Q_PROPERTY(QString minimizesTitle READ minimizesTitle CONSTANT)
    Q_PROPERTY(QString inPictureHelp READ inPictureHelp CONSTANT)
    Q_PROPERTY(double heightLimit READ heightLimit NOTIFY heightLimitChanged)
    Q_PROPERTY(vintra::AppCommandsModel* commands READ commands CONSTANT)
    Q_PROPERTY(vintra::StatusStripModel* statusStrip READ statusStrip CONSTANT)
    Q_PROPERTY(vintra::CardsModel* cards READ cards CONSTANT)
    Q_PROPERTY(vintra::TracksModel* tracks READ tracks CONSTANT)
    Q_PROPERTY(vintra::OutputSectionModel* output READ output CONSTANT)
    Q_PROPERTY(vintra::StatusIndicatorModel* status READ status CONSTANT)
    Q_PROPERTY(vintra::RecordButtonModel* recordButton READ recordButton CONSTANT)

public:
    /// All outlive this. `quit` ends the program.
    MainWindowModel(ContentView& view, const AppSurroundings& surroundings, AppCommandsModel& commands,
                    WindowInPicture& inPicture, Published<bool>& isQuitting, std::function<void()> quit);
    ~MainWindowModel() override;

    QString title() const;
    QString subtitle() const;
    /// Tells in a list of windows that a take runs.
    QString windowTitle() const;
    QString logoImage() const;
    QString bugImage() const;
    QString bugTitle() const;
    bool isBugTitlePlain() const; ///< not the word after a copying
    QString tracksTitle() const;
    QString closingNote() const; ///< while the program ends and a take is being saved
    QString markerHelp() const { return markerNote; }
    /// From now on shows this text, which outlives this.
    void showMarkerHelp(Published<std::string>& note);
    bool isInPicture() const { return inPicture.state->isInPicture; }
    bool minimizes() const { return inPicture.state->minimizes; }
    void setMinimizes(bool minimizes) { inPicture.setMinimizes(minimizes); }
    QString minimizesTitle() const { return WindowInPicture::kTitle; }
    QString inPictureHelp() const { return WindowInPicture::kHelp; }
    /// The most that the window's content may take, in points.
    double heightLimit() const { return limit; }
    void setHeightLimit(double newLimit);
    /// Whether the user can see the window.
    void setShown(bool isShown) { tracksModel.setWatched(isShown); }

    AppCommandsModel* commands() { return &commandsModel; }
    StatusStripModel* statusStrip() { return &statusStripModel; }
    CardsModel* cards() { return &cardsModel; }
    TracksModel* tracks() { return &tracksModel; }
    OutputSectionModel* output() { return &outputModel; }
    StatusIndicatorModel* status() { return &statusModel; }
    RecordButtonModel* recordButton() { return &recordButtonModel; }

    Q_INVOKABLE void openBugReport();
    Q_INVOKABLE void quit() { quitProgram(); }

Q_SIGNALS:
    void changed();
    void heightLimitChanged();

private:
    ContentView& view;
    const AppSurroundings surroundings;
    AppCommandsModel& commandsModel;
    WindowInPicture& inPicture;
    Published<bool>& isQuitting;
    const std::function<void()> quitProgram;
    QString markerNote;
    double limit = 10'000;
    StatusStripModel statusStripModel;
    CardsModel cardsModel;
    TracksModel tracksModel;
    OutputSectionModel outputModel;
    StatusIndicatorModel statusModel;
    RecordButtonModel recordButtonModel;
    std::vector<Observation> observations;
};

} // namespace vintra
