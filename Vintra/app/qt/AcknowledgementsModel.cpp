#include "Vintra/app/qt/AcknowledgementsModel.h"

#include "Vintra/app/qt/DesignFont.h"
#include "Vintra/app/qt/DesignPalette.h"
#include "Vintra/app/qt/QtStrings.h"

#include <QFontDatabase>
#include <QSyntaxHighlighter>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <utility>

namespace vintra {
namespace {

constexpr int kHeadingSize = 14;    // points
constexpr double kLineDistance = 3; // points

/// Of the runs that are headings. Owned by the document.
class HeadingLooks : public QSyntaxHighlighter {
public:
    HeadingLooks(QTextDocument* document, std::vector<bool> headings)
        : QSyntaxHighlighter(document)
        , headings(std::move(headings)) {
        QFont font(designFontFamily());
        font.setPixelSize(kHeadingSize);
        font.setWeight(QFont::DemiBold);
        looks.setFont(font);
        looks.setForeground(qColor(DesignColor::text));
    }

protected:
    void highlightBlock(const QString& text) override {
        const auto number = static_cast<size_t>(currentBlock().blockNumber());
        if (number < headings.size() && headings[number]) setFormat(0, static_cast<int>(text.size()), looks);
    }

private:
    const std::vector<bool> headings;
    QTextCharFormat looks;
};

/// Without what a text field would take for the end of a paragraph or draw as a box.
QString drawableLine(const std::string& line) {
    QString text = qString(line);
    text.removeIf([](QChar character) {
        return (character < ' ' && character != '\t') || character == QChar::ParagraphSeparator ||
               character == QChar::LineSeparator;
    });
    return text;
}

} // namespace

AcknowledgementsModel::AcknowledgementsModel(const AcknowledgementsView& view, QObject* parent)
    : QObject(parent)
    , view(view) {}

QString AcknowledgementsModel::text() const {
    QString text;
    for (const AcknowledgementsView::Run& run : view.runs())
        text += drawableLine(run.text) + '\n';
    return text;
}

QString AcknowledgementsModel::fixedFamily() const {
    return QFontDatabase::systemFont(QFontDatabase::FixedFont).family();
}

void AcknowledgementsModel::layOut(QQuickTextDocument* document) const {
    QTextBlockFormat lines;
    lines.setLineHeight(kLineDistance, QTextBlockFormat::LineDistanceHeight);
    QTextCursor all(document->textDocument());
    all.select(QTextCursor::Document);
    all.mergeBlockFormat(lines);
    std::vector<bool> headings;
    for (const AcknowledgementsView::Run& run : view.runs())
        headings.push_back(run.isHeading);
    new HeadingLooks(document->textDocument(), std::move(headings));
}

} // namespace vintra
