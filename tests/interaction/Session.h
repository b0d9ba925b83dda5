#pragma once
// A remote control in extension mode serving a test scene over loopback TCP, and one client:
// Send() a control word with its arguments and get the reply object ("result", "value", "error").

#include "TestSupport.h"
#include "UIRemoteControl.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QQmlContext>
#include <QQuickItem>
#include <QtTest>

#include <memory>

namespace Interaction {

class Session {
public:
    explicit Session(const QString &qml, bool extensions = true) : scene(qml)
    {
        const quint16 port = TestSupport::FreePort();
        remote = std::make_unique<UIRemoteControl>(scene.root, scene.engine.rootContext(), port, scene.window);
        remote->setExtensionsEnabled(extensions);
        client.ConnectTo(port);
        (void)QTest::qWaitFor([this] { return client.IsConnected(); }, 10000); // Ready() tells the test
    }

    bool Ready() const { return scene.window && remote->IsListening() && client.IsConnected(); }

    // One control, one reply; an object holding only "noReply" when none came within the limit.
    QJsonObject Send(const QString &word, const QVariantMap &args, int limitMs = 60000)
    {
        const int before = client.replies.size();
        client.Send(QJsonDocument(QJsonObject{{word, QJsonObject::fromVariantMap(args)}}).toJson(QJsonDocument::Compact));
        if (!QTest::qWaitFor([&] { return client.replies.size() > before; }, limitMs))
            return QJsonObject{{QStringLiteral("noReply"), true}};
        return client.replies.at(before);
    }

    QObject *Object(const QString &name) const
    {
        if (scene.root && scene.root->objectName() == name)
            return scene.root;
        return scene.root ? scene.root->findChild<QObject *>(name) : nullptr;
    }
    QVariant Get(const QString &name, const char *property) const
    {
        QObject *object = Object(name);
        QVariant value = object ? object->property(property) : QVariant();
        if (value.userType() == qMetaTypeId<QJSValue>())
            value = value.value<QJSValue>().toVariant();
        return value;
    }
    void Set(const QString &name, const char *property, const QVariant &value)
    {
        if (QObject *object = Object(name))
            object->setProperty(property, value);
    }

    TestSupport::Scene scene;
    std::unique_ptr<UIRemoteControl> remote;
    TestSupport::ReplyClient client;
};

inline QJsonObject Ok() { return QJsonObject{{QStringLiteral("result"), true}}; }
inline QJsonObject Failed(const QString &reason)
{
    return QJsonObject{{QStringLiteral("result"), false}, {QStringLiteral("error"), reason}};
}

} // namespace Interaction

namespace Interaction {
// True when the replies are equal; shows both when they differ.
inline bool SameReply(const QJsonObject &actual, const QJsonObject &expected)
{
    if (actual == expected)
        return true;
    qWarning("\n   Actual   %s\n   Expected %s", QJsonDocument(actual).toJson(QJsonDocument::Compact).constData(),
             QJsonDocument(expected).toJson(QJsonDocument::Compact).constData());
    return false;
}
} // namespace Interaction
