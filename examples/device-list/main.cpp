// A window with a table of lists that belong together. It follows them, also when the server goes and comes
// back.
//
//     $ device_list tov.base.bluetoothlauncher 'scanresults*'
//     $ device_list tov.base.bluetoothlauncher 'scanresults*' --picture FILE.png    # what it shows, once it
//     is there

#include <ipc/RowsModel.h>

#include <QApplication>
#include <QCommandLineParser>
#include <QHeaderView>
#include <QTableView>
#include <QTimer>

#include <cstdio>

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    QCommandLineParser parser;
    parser.addPositionalArgument("BUS-NAME", "the server");
    parser.addPositionalArgument("PATTERN", "the lists");
    const QCommandLineOption picture("picture", "write what is shown into FILE and end", "FILE");
    parser.addOption(picture);
    parser.addHelpOption();
    parser.process(application);
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 2) {
        std::fputs("usage: device_list BUS-NAME PATTERN [--picture FILE]\n", stderr);
        return 2;
    }

    ipc::RowsModel model(arguments[0], QDBusConnection::sessionBus(), { arguments[1] });
    QTableView view;
    view.setModel(&model);
    view.setWindowTitle(arguments[1]);
    view.setSelectionBehavior(QAbstractItemView::SelectRows);
    view.horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    view.resize(640, 400);
    view.show();

    QObject::connect(&model, &ipc::RowsModel::failed, &view, [&](const QString& problem) {
        std::fprintf(stderr, "device_list: %s\n", qPrintable(problem));
        if (parser.isSet(picture)) {
            QApplication::exit(1);
        }
    });
    if (parser.isSet(picture)) {
        QObject::connect(&model, &ipc::RowsModel::liveChanged, &view, [&] {
            // When the view has heard of the rows as well.
            QTimer::singleShot(0, &view,
                               [&] { QApplication::exit(view.grab().save(parser.value(picture)) ? 0 : 1); });
        });
    }
    return QApplication::exec();
}
