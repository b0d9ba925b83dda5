// The table of controls: the twenty words and their handlers, the extension words reached only
// in extension mode, and "describe", which hands the table to clients as data.

#include "ControlTable.h"
#include "TestSupport.h"
#include "UIRemoteControl.h"

#include <QtTest>

namespace {

QVariantList Describe(UIRemoteControl &control, bool *ok)
{
    QVariant value;
    *ok = control.controlObject(QVariantMap{{QStringLiteral("describe"), QVariantMap()}}, value);
    return value.toList();
}

} // namespace

class TestControlTable : public QObject {
    Q_OBJECT
private slots:
    void theTwentyComeFirstInDispatchOrder()
    {
        const QStringList expected = {"invoke", "invokeret", "getpro", "setpro", "click", "dbclick", "hover",
                                      "waitsignal", "getmdlitemval", "getgrpmdlitemval", "getfltmdlitemval", "drag",
                                      "drop", "press", "keyclick", "getwinname", "emitpluginsignal", "movejoystick",
                                      "joystickbuttonevent", "addjoystick"};
        QStringList twenty;
        for (const ControlRow &row : ControlTable::Rows()) {
            if (!row.extension)
                twenty.append(QLatin1String(row.word));
            else
                QVERIFY2(twenty.size() == 20, row.word); // no classic word after an extension word
        }
        QCOMPARE(twenty, expected);
    }

    void everyRowIsWholeAndItsWordsAndNamesAreUnique()
    {
        QSet<QString> words, names;
        for (const ControlRow &row : ControlTable::Rows()) {
            QVERIFY2(row.handler, row.word);
            QVERIFY2(*row.summary, row.word);
            QVERIFY2(!words.contains(QLatin1String(row.word)), row.word);
            QVERIFY2(!names.contains(QLatin1String(row.name)), row.name);
            words.insert(QLatin1String(row.word));
            names.insert(QLatin1String(row.name));
            QSet<QString> keys;
            for (const ControlArgument &arg : row.args) {
                QVERIFY2(!keys.contains(QLatin1String(arg.key)), arg.key);
                keys.insert(QLatin1String(arg.key));
                QVERIFY2(!(arg.required && arg.fallback), arg.key); // a required argument has no default
                if (arg.fallback) // defaults are JSON text
                    QVERIFY2(!QJsonDocument::fromJson(QByteArray("[") + arg.fallback + "]").isNull(), arg.fallback);
            }
        }
    }

    void extensionWordsAreFoundOnlyInExtensionMode()
    {
        QVERIFY(ControlTable::Find(QStringLiteral("getpro"), false));
        QVERIFY(!ControlTable::Find(QStringLiteral("describe"), false));
        QVERIFY(ControlTable::Find(QStringLiteral("describe"), true));
        QVERIFY(!ControlTable::Find(QStringLiteral("Describe"), true));
        QVERIFY(!ControlTable::Find(QString(), true));
    }

    void describeOutsideExtensionModeIsAnUnknownControl()
    {
        UIRemoteControl control(nullptr, nullptr, nullptr);
        control.setExtensionsEnabled(false);
        bool ok = true;
        QVERIFY(Describe(control, &ok).isEmpty());
        QVERIFY(!ok);
    }

    void describeListsEveryRowWithItsArguments()
    {
        UIRemoteControl control(nullptr, nullptr, nullptr);
        control.setExtensionsEnabled(true);
        bool ok = false;
        const QVariantList rows = Describe(control, &ok);
        QVERIFY(ok);
        QCOMPARE(rows.size(), int(ControlTable::Rows().size()));
        const QVariantMap click = rows.at(4).toMap();
        QCOMPARE(click.value("word").toString(), QStringLiteral("click"));
        QCOMPARE(click.value("name").toString(), QStringLiteral("click"));
        QCOMPARE(click.value("extension").toBool(), false);
        QVariantMap button;
        for (const QVariant &arg : click.value("args").toList()) {
            if (arg.toMap().value("key") == QLatin1String("clickbtn"))
                button = arg.toMap();
        }
        QCOMPARE(button.value("alias").toString(), QStringLiteral("button"));
        QCOMPARE(button.value("type").toString(), QStringLiteral("string"));
        QCOMPARE(button.value("default").toString(), QStringLiteral("left")); // the JSON value, not its text
        QCOMPARE(button.value("required").toBool(), false);
        const QVariantMap describe = rows.at(20).toMap();
        QCOMPARE(describe.value("word").toString(), QStringLiteral("describe"));
        QCOMPARE(describe.value("extension").toBool(), true);
    }

    void describeTravelsOverTheWire()
    {
        UIRemoteControl control(nullptr, nullptr, 0, nullptr);
        control.setExtensionsEnabled(true);
        QVERIFY(control.IsListening());
        QTcpSocket client;
        client.connectToHost(QHostAddress::LocalHost, control.ServerPort());
        QVERIFY(client.waitForConnected(5000));
        client.write(R"({"describe": {}})");
        QByteArray reply;
        QTRY_VERIFY_WITH_TIMEOUT((reply += client.readAll(), QJsonDocument::fromJson(reply).isObject()), 10000);
        const QJsonObject object = QJsonDocument::fromJson(reply).object();
        QCOMPARE(object.value("result").toBool(), true);
        QCOMPARE(object.value("value").toArray().size(), int(ControlTable::Rows().size()));
    }
};

QTEST_GUILESS_MAIN(TestControlTable)
#include "tst_control_table.moc"
