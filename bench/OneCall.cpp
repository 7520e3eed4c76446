// one_call: the least that a QtDBus program does to read an item.

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>

#include <cstdio>

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QDBusMessage call =
        QDBusMessage::createMethodCall(QStringLiteral("tov.base.bench"), QStringLiteral("/tov/base/Items"),
                                       QStringLiteral("tov.base.Items"), QStringLiteral("Get"));
    call.setArguments({ QStringLiteral("status") });
    const QDBusMessage reply = QDBusConnection::sessionBus().call(call);
    std::puts(qPrintable(reply.arguments().value(0).value<QDBusVariant>().variant().toString()));
    return reply.type() == QDBusMessage::ReplyMessage ? 0 : 1;
}
