// publish-folder SETTINGS [FOLDER]: publishes a folder and shows the progress in a window.

#include "PublishWindow.h"

#include <tavrel/TavrelInitializer.h>

#include <QApplication>
#include <QCommandLineParser>

#include <cstdio>

int main(int argc, char* argv[])
{
    const TavrelInitializer initializer;
    const QApplication application(argc, argv);
    QApplication::setStyle(QStringLiteral("Fusion"));
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Publishes a folder and shows the progress in a window."));
    parser.addHelpOption();
    const QCommandLineOption picture(
        QStringLiteral("picture"), QStringLiteral("Write a picture of the window at the end."), QStringLiteral("path"));
    parser.addOption(picture);
    parser.addPositionalArgument(QStringLiteral("SETTINGS"), QStringLiteral("The target."));
    parser.addPositionalArgument(QStringLiteral("FOLDER"), QStringLiteral("What to publish."));
    parser.process(application);

    const QStringList arguments = parser.positionalArguments();
    FTPSettingsSerializable settings;
    if (arguments.isEmpty() || !settings.load(arguments.first())) {
        std::fprintf(stderr, "publish-folder: needs a file of settings; see --help\n");
        return 1;
    }
    PublishWindow window(settings);
    window.show();
    if (arguments.size() > 1) {
        window.publish(arguments.at(1));
    }
    if (parser.isSet(picture)) {
        QObject::connect(&window, &PublishWindow::finished, &window,
            [&] { QApplication::exit(window.grab().save(parser.value(picture)) ? 0 : 1); });
    }
    return QApplication::exec();
}
