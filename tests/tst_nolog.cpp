// Without any log library the remote control works exactly the same and logs nothing: linked
// into this test, and loaded as a plugin by a host program of its own whose output is checked.

#include "TestSupport.h"
#include "TraceLog.h"
#include "UIRemoteControl.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <dlfcn.h>

using namespace TestSupport;

class TestNoLogLibrary : public QObject {
    Q_OBJECT
private slots:
    void noLogLibraryIsLoaded()
    {
        QVERIFY(dlopen("libQmdxLogUtl.so", RTLD_NOW | RTLD_NOLOAD) == nullptr);
        QVERIFY(!TraceLog::ShouldLog(TraceLog::Error, __FILE__, __LINE__));
        TraceLog::Write("%s, nothing happens", "Test::write"); // must not crash
    }

    // The host program loads the library by path (no log library is on its search path),
    // initialises it and runs controls; each step's answer is in the file it writes. A log
    // severity that would let a log library write every trace line is set, so a library found
    // by mistake shows on standard error too.
    void pluginPathServesAndWritesNothing()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QString answers = dir.filePath(QStringLiteral("answers.txt"));
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.remove(QStringLiteral("LD_LIBRARY_PATH"));
        env.insert(QStringLiteral("UIREMOTE_LOG_SEVERITY"), QStringLiteral("5"));
        // Qt warns on standard error about a missing runtime directory; the scratch directory
        // (private to this user) serves as one.
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), dir.path());
        QProcess host;
        host.setProcessEnvironment(env);
        host.start(QStringLiteral(UIRC_NOLOG_HOST), {answers});
        QVERIFY2(host.waitForFinished(120000), qPrintable(host.errorString()));
        const QByteArray out = host.readAllStandardOutput();
        const QByteArray err = host.readAllStandardError();
        QCOMPARE(host.exitStatus(), QProcess::NormalExit);
        QCOMPARE(host.exitCode(), 0);
        QCOMPARE(out, QByteArray());
        QCOMPARE(err, QByteArray());
        QFile file(answers);
        QVERIFY(file.open(QIODevice::ReadOnly | QIODevice::Text));
        const QStringList steps = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        QCOMPARE(steps, (QStringList{
                            "load true",
                            "instance true",
                            "InitialPluginBase true",
                            "initialize called true",
                            "initialize true",
                            "getpro box success=true retValue=first scene",
                            "click box success=true retValue=<invalid>",
                            "getpro nowhere success=false retValue=<invalid>",
                            "nosuchcontrol success=false retValue=<invalid>",
                            "log library loaded false",
                            "unload true",
                        }));
    }

    void serverStillAnswersOverTcp()
    {
        QObject root;
        root.setObjectName(QStringLiteral("root"));
        UIRemoteControl remote(&root, nullptr, FreePort(), nullptr);
        QVERIFY(remote.IsListening());
        ReplyClient client;
        client.ConnectTo(remote.ServerPort());
        QTRY_VERIFY_WITH_TIMEOUT(client.IsConnected(), 5000);
        client.Send(R"({"getpro": {"objname": "root", "property": "objectName"}}{"Click": {}}{"bad")");
        QTRY_COMPARE_WITH_TIMEOUT(client.replies.size(), 3, 5000);
        QCOMPARE(client.replies[0], (QJsonObject{{"result", true}, {"value", "root"}}));
        QCOMPARE(client.replies[1], (QJsonObject{{"result", false}}));
        QCOMPARE(client.replies[2], (QJsonObject{{"result", false}}));
    }
};

QTEST_GUILESS_MAIN(TestNoLogLibrary)
#include "tst_nolog.moc"
