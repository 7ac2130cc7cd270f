// settings-dialog [FILE]: edits the settings of a publication target.

#include "SettingsDialog.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QLocale>
#include <QTranslator>

#include <cstdio>

int main(int argc, char* argv[])
{
    const QApplication application(argc, argv);
    QApplication::setStyle(QStringLiteral("Fusion"));
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Edits the settings of a publication target."));
    parser.addHelpOption();
    parser.addOptions({
        { QStringLiteral("picture"), QStringLiteral("Write a picture of the dialog and end."), QStringLiteral("path") },
        { QStringLiteral("translations"), QStringLiteral("Where the library's texts are."), QStringLiteral("folder") },
    });
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("Settings to open."));
    parser.process(application);

    QTranslator translator;
    const QString folder = parser.value(QStringLiteral("translations"));
    if (translator.load(QLocale(), QStringLiteral("tavrel"), QStringLiteral("_"), folder)
        || translator.load(QStringLiteral("tavrel_en"), folder)) {
        QApplication::installTranslator(&translator);
    }
    SettingsDialog dialog;
    const QStringList files = parser.positionalArguments();
    if (!files.isEmpty() && !dialog.openFile(files.first())) {
        std::fprintf(stderr, "settings-dialog: %s holds no settings\n", qUtf8Printable(files.first()));
    }
    const QString picture = parser.value(QStringLiteral("picture"));
    if (!picture.isEmpty()) {
        dialog.adjustSize();
        return dialog.grab().save(picture) ? 0 : 1;
    }
    dialog.show();
    return QApplication::exec();
}
