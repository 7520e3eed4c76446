#include "Mechanisms.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

/// Each way to the private view, as the user who runs the test and, where that is root, as an ordinary one.
class PrivateFilesystemTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void showsTheView_data() { addMechanisms(); }
    void showsTheView();
    void bindsBackWhereTheCallerStands_data() { addMechanisms(); }
    void bindsBackWhereTheCallerStands();
    void controllerIsItself_data() { addMechanisms(); }
    void controllerIsItself();
    void controllerCanBeExchanged_data() { addMechanisms(); }
    void controllerCanBeExchanged();
    void turnsToProotWhereNamespacesAreForbidden();
    void saysWhyThereIsNoView();
    void saysWhichStepFailed();
};

namespace {

/// What a shell in the view finds wrong, a line each. $1 is the identity that it should have.
const char* const Inspection = R"sh(
[ -z "$(ls -A /tmp)" ] || echo "/tmp is not empty: $(ls -A /tmp)"
[ "$(stat -c %a /tmp)" = 1777 ] || echo "/tmp has mode $(stat -c %a /tmp)"
echo mine >/tmp/written || echo "/tmp cannot be written"
[ "$(cat /tmp/written)" = mine ] || echo "/tmp does not keep what is written"
ls -l /tmp/written >/dev/null || echo "ls does not see what is in /tmp"
mv /tmp/written /tmp/renamed && [ -e /tmp/renamed ] || echo "nothing can be renamed in /tmp"
cp /lib/firmware/FCC.bts /tmp/bt.bts && [ -s /tmp/bt.bts ] || echo "there is no firmware"
ls -L /usr/bin/blue_controller_zq4 >/dev/null || echo "ls does not see the controller"
[ -x /usr/bin/blue_controller_zq4 ] || echo "the controller cannot be executed"
[ "$(id -u):$(id -g)" = "$1" ] || echo "the identity is $(id)"
[ "$(pwd -P)" = / ] || echo "the current folder is $(pwd -P)"
[ -x /usr/bin/env ] || echo "the machine's own programs are gone"
)sh";

QString identity(bool ordinaryUser)
{
    return ordinaryUser ? "65534:65534" : QString("%1:%2").arg(geteuid()).arg(getegid());
}

Finished probe(const QStringList& arguments, const QString& mechanism, bool ordinaryUser,
               const QString& folder)
{
    return run(besideTest("view_probe"), arguments, { only(mechanism), ordinaryUser, folder });
}

} // namespace

void PrivateFilesystemTest::showsTheView()
{
    FETCH_MECHANISM
    const Finished shell = probe({ "/bin/true", "sh", "-c", Inspection, "sh", identity(ordinaryUser) },
                                 mechanism, ordinaryUser, "/");
    QCOMPARE(shell.err, QString());
    QCOMPARE(shell.out, QString());
    QCOMPARE(shell.status, 0);
    QVERIFY(!QFile::exists("/tmp/bt.bts"));
}

void PrivateFilesystemTest::bindsBackWhereTheCallerStands()
{
    FETCH_MECHANISM
    const QTemporaryDir machine("/tmp/private-view-XXXXXX");
    const QString checkout = machine.filePath("a checkout");
    QVERIFY(QDir().mkpath(checkout));
    QVERIFY(QDir().mkpath(machine.filePath("hidden")));
    for (const QString& folder : { machine.path(), checkout }) {
        QVERIFY(QFile::setPermissions(folder, QFile::Permissions(0x7777)));
    }
    const Finished shell = probe({ "/bin/true", "sh", "-c", "echo built >file; cat \"$PWD/file\"; ls .." },
                                 mechanism, ordinaryUser, checkout);
    QCOMPARE(shell.err, QString());
    QCOMPARE(shell.out, "built\na checkout\n");
    QVERIFY(QFile::exists(checkout + "/file"));
}

void PrivateFilesystemTest::controllerIsItself()
{
    FETCH_MECHANISM
    const QString program = besideTest("view_probe");
    const Finished controller =
        probe({ program, "/usr/bin/blue_controller_zq4", "--who", "1", "1" }, mechanism, ordinaryUser, "/");
    QCOMPARE(controller.err, QString());
    // The name by which it was called, and the place where it finds what lies beside it.
    QCOMPARE(controller.out,
             QString("/usr/bin/blue_controller_zq4 3 %1\n").arg(QFileInfo(program).canonicalFilePath()));
}

void PrivateFilesystemTest::controllerCanBeExchanged()
{
    FETCH_MECHANISM
    const Finished controller =
        probe({ "--exchange", "/bin/false", "/bin/true", "/usr/bin/blue_controller_zq4" }, mechanism,
              ordinaryUser, "/");
    QCOMPARE(controller.err, QString());
    QCOMPARE(controller.status, 1);
}

// The kernel gives no user namespace to whoever is in a chroot; what has begun in the process itself still
// has a way.
void PrivateFilesystemTest::turnsToProotWhereNamespacesAreForbidden()
{
    REQUIRE_MECHANISM("proot", true)
    if (geteuid() != 0) {
        QTest::qSkip("only root may chroot", __FILE__, __LINE__);
        return;
    }
    const QTemporaryDir root("/var/tmp/chroot-XXXXXX");
    QVERIFY(root.isValid());
    const QString inside =
        R"(mount --rbind / "$1" && exec chroot --userspec=65534:65534 "$1" env -C / -u XDG_RUNTIME_DIR "$2" )"
        R"(/bin/true sh -c 'ls -A /tmp; [ -s /lib/firmware/FCC.bts ] && echo viewed')";
    const Finished shell =
        run("unshare", { "-m", "sh", "-c", inside, "sh", root.path(), besideTest("view_probe") });
    QCOMPARE(shell.err, QString());
    QCOMPARE(shell.out, "viewed\n");
}

void PrivateFilesystemTest::saysWhyThereIsNoView()
{
    const Finished none =
        run(besideTest("view_probe"), { "/bin/true", "/bin/true" },
            { { { "BLUETOOTHWORLD_FILESYSTEM", "proot" }, { "PATH", "/nonexistent" } }, false, "/" });
    QCOMPARE(none.status, 69);
    QCOMPARE(none.out, QString());
    QCOMPARE(none.err.count('\n'), 1);
    QVERIFY2(none.err.contains("namespaces: ") && none.err.contains("proot: No such file"),
             qPrintable(none.err));
}

/// The kernel takes no more than two overlays on top of each other.
void PrivateFilesystemTest::saysWhichStepFailed()
{
    REQUIRE_MECHANISM("namespace", false)
    QStringList nested;
    for (int depth = 0; depth < 4; ++depth) {
        nested << besideTest("view_probe") << "/bin/true";
    }
    const Finished deep = probe(nested.mid(1) << "/bin/true", "namespace", false, "/");
    QCOMPARE(deep.status, 69);
    QVERIFY2(deep.err.contains("namespaces: overlay over /usr/bin: Invalid argument; proot: "),
             qPrintable(deep.err));
}

QTEST_GUILESS_MAIN(PrivateFilesystemTest)
#include "PrivateFilesystemTest.moc"
