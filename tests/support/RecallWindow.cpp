// A Qt window with given text for the recall scenes: `recall_window dialog|page POINTS
// dark|light FILE TITLE`. A dialog shows FILE's "Label<TAB>Value" rows as a form of read-only
// fields with OK and Cancel; a page shows FILE as a read-only document in a proportional face.
// Both sit at the screen's top-left corner until killed.

#include <QApplication>
#include <QCheckBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFile>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPalette>
#include <QPlainTextEdit>
#include <QStyleFactory>
#include <QVBoxLayout>

namespace {

QPalette darkPalette() {
    QPalette palette;
    palette.setColor(QPalette::Window, QColor(0x2b, 0x2b, 0x2b));
    palette.setColor(QPalette::WindowText, QColor(0xe0, 0xe0, 0xe0));
    palette.setColor(QPalette::Base, QColor(0x1e, 0x1e, 0x1e));
    palette.setColor(QPalette::Text, QColor(0xdc, 0xdc, 0xdc));
    palette.setColor(QPalette::Button, QColor(0x3a, 0x3a, 0x3a));
    palette.setColor(QPalette::ButtonText, QColor(0xe0, 0xe0, 0xe0));
    return palette;
}

QWidget* dialog(const QStringList& rows) {
    auto* window = new QDialog;
    auto* layout = new QVBoxLayout(window);
    auto* form = new QFormLayout;
    for (const QString& row : rows) {
        const QString label = row.section(u'\t', 0, 0);
        const QString value = row.section(u'\t', 1);
        if (value.isEmpty()) {
            auto* box = new QCheckBox(label);
            box->setChecked(true);
            form->addRow(box);
            continue;
        }
        auto* field = new QLineEdit(value);
        field->setReadOnly(true);
        field->setMinimumWidth(field->fontMetrics().horizontalAdvance(value) + 24);
        field->setCursorPosition(0);
        form->addRow(label + u':', field);
    }
    layout->addLayout(form);
    layout->addWidget(new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel));
    return window;
}

QWidget* page(const QStringList& lines, int points) {
    auto* editor = new QPlainTextEdit(lines.join(u'\n'));
    editor->setReadOnly(true);
    editor->setLineWrapMode(QPlainTextEdit::NoWrap);
    QFont face(QStringLiteral("DejaVu Sans"));
    face.setPointSize(points);
    editor->setFont(face);
    const QFontMetrics metrics(face);
    int width = 0;
    for (const QString& line : lines) {
        width = std::max(width, metrics.horizontalAdvance(line));
    }
    editor->resize(width + 60, metrics.lineSpacing() * int(lines.size() + 2) + 20);
    return editor;
}

} // namespace

int main(int argc, char* argv[]) {
    QApplication app(argc, argv);
    const QStringList args = QApplication::arguments();
    if (args.size() != 6) {
        return 2;
    }
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    if (args[3] == u"dark") {
        QApplication::setPalette(darkPalette());
    }
    QFont font = QApplication::font();
    font.setPointSize(args[2].toInt());
    QApplication::setFont(font);
    QFile file(args[4]);
    if (!file.open(QIODevice::ReadOnly)) {
        return 1;
    }
    const QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n');
    QWidget* window = args[1] == u"dialog" ? dialog(lines) : page(lines, args[2].toInt());
    window->setWindowTitle(args[5]);
    window->move(0, 0);
    window->show();
    return QApplication::exec();
}
