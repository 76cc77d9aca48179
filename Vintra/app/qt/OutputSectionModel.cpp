#include "Vintra/app/qt/OutputSectionModel.h"

#include "Vintra/app/qt/QtStrings.h"

namespace vintra {

OutputSectionModel::OutputSectionModel(OutputSection& section, QObject* parent)
    : QObject(parent)
    , section(section)
    , timelineMenu([this](const std::string& id) { this->section.chooseTimelineEditor(id); })
    , observation(section.state.observe([this](const OutputSection::State& state) {
        timelineMenu.show(state.timeline);
        Q_EMIT changed();
    })) {
    timelineMenu.show(section.state->timeline);
}

QString OutputSectionModel::sessionName() const {
    return qString(section.state->sessionName);
}

QString OutputSectionModel::folder() const {
    return qString(section.state->folder);
}

QString OutputSectionModel::folderNote() const {
    return qString(section.state->folderNote);
}

QString OutputSectionModel::showTitle() const {
    return qString(section.state->showTitle);
}

void OutputSectionModel::setSessionName(const QString& name) {
    section.setSessionName(name.toStdString());
}

} // namespace vintra
