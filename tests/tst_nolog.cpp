// Without any log library the remote control works exactly the same and logs nothing.

#include "TestSupport.h"
#include "TraceLog.h"
#include "UIRemoteControl.h"

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
