#pragma once
// Fixture of the extension-mode suites: the extension scene served by a listening control, a
// loopback client, and one request/reply round trip as a JSON object.

#include "TestSupport.h"
#include "UIRemoteControl.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QQuickItem>
#include <QQuickWindow>
#include <QtTest>

#include <memory>

struct ExtensionSession {
    ExtensionSession(const QString &file, bool extensions, bool defaultWindow = true)
        : scene(file),
          control(scene.root, scene.engine.rootContext(), TestSupport::FreePort(), defaultWindow ? scene.window : nullptr)
    {
        control.setExtensionsEnabled(extensions);
        client.ConnectTo(control.ServerPort());
    }
    // The reply to one message, or an object holding "<no reply>" when none came in time.
    QJsonObject Ask(const QByteArray &json)
    {
        const int before = client.replies.size();
        client.Send(json);
        if (!QTest::qWaitFor([&] { return client.replies.size() > before; }, 10000))
            return QJsonObject{{QStringLiteral("<no reply>"), QString::fromUtf8(json)}};
        return client.replies.last();
    }
    QJsonObject Ask(const QJsonObject &message) { return Ask(QJsonDocument(message).toJson(QJsonDocument::Compact)); }
    // The first object below the root with this name.
    template <typename T = QObject>
    T *Named(const char *name) const
    {
        return scene.root ? scene.root->findChild<T *>(QLatin1String(name)) : nullptr;
    }

    TestSupport::Scene scene;
    UIRemoteControl control;
    TestSupport::ReplyClient client;
};

// A JSON object written with single quotes ("{'getpro': {'objname': 'okButton'}}").
inline QJsonObject Json(const char *text)
{
    return QJsonDocument::fromJson(QByteArray(text).replace('\'', '"')).object();
}

inline QJsonObject Failure(const QString &error)
{
    return QJsonObject{{QStringLiteral("result"), false}, {QStringLiteral("error"), error}};
}

inline QJsonObject Success(const QJsonValue &value = QJsonValue::Undefined)
{
    QJsonObject reply{{QStringLiteral("result"), true}};
    if (!value.isUndefined())
        reply.insert(QStringLiteral("value"), value);
    return reply;
}

#define EXT_OPEN(session)                                                                  \
    QVERIFY(session.scene.window);                                                         \
    QVERIFY(session.control.IsListening());                                                \
    QTRY_VERIFY_WITH_TIMEOUT(session.client.IsConnected(), 5000)
