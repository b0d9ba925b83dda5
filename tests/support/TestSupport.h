#pragma once
// Shared helpers of the C++ test suites: a real loopback JSON client, access to the recording
// log library, and QML scene loading.

#include <QByteArray>
#include <QJSValue>
#include <QMetaObject>
#include <QJsonDocument>
#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QStringList>
#include <QTcpServer>
#include <QTcpSocket>
#include <QUrl>

#if __has_include("LogRecorder.h")
#include "LogRecorder.h"
#define UIRC_HAS_RECORDER 1
#endif

namespace TestSupport {

// Keyboard modifier bits as clients send them ("keyboardModifier").
const int kShift = Qt::ShiftModifier;
const int kControl = Qt::ControlModifier;
const int kAlt = Qt::AltModifier;
const int kMeta = Qt::MetaModifier;
const int kKeypad = Qt::KeypadModifier;

// A port that was free a moment ago on loopback.
inline quint16 FreePort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

// A test client: sends raw bytes and collects the server's replies (indented JSON objects
// without terminator), cutting them out of the byte stream however it arrives.
class ReplyClient : public QObject {
public:
    explicit ReplyClient(QObject *parent = nullptr) : QObject(parent)
    {
        connect(&socket, &QTcpSocket::readyRead, this, [this] {
            buffer += socket.readAll();
            Cut();
        });
    }
    void ConnectTo(quint16 port) { socket.connectToHost(QHostAddress::LocalHost, port); }
    bool IsConnected() const { return socket.state() == QAbstractSocket::ConnectedState; }
    void Send(const QByteArray &bytes)
    {
        socket.write(bytes);
        socket.flush();
    }

    QTcpSocket socket;
    QList<QJsonObject> replies;
    QByteArray buffer;
    int malformed = 0;

private:
    void Cut()
    {
        for (;;) {
            int start = 0;
            while (start < buffer.size() && buffer[start] != '{')
                ++start;
            int depth = 0;
            bool inString = false, escaped = false;
            int end = -1;
            for (int i = start; i < buffer.size(); ++i) {
                const char c = buffer[i];
                if (inString) {
                    if (escaped)
                        escaped = false;
                    else if (c == '\\')
                        escaped = true;
                    else if (c == '"')
                        inString = false;
                } else if (c == '"') {
                    inString = true;
                } else if (c == '{') {
                    ++depth;
                } else if (c == '}' && --depth == 0) {
                    end = i;
                    break;
                }
            }
            if (end < 0)
                return;
            const QJsonDocument document = QJsonDocument::fromJson(buffer.mid(start, end - start + 1));
            if (document.isObject())
                replies.append(document.object());
            else
                ++malformed;
            buffer.remove(0, end + 1);
        }
    }
};

// What a recording QML object of a test scene wrote since the last call: its "take()" function
// returns the entries as a list.
inline QStringList TakeRecorded(QObject *recorder)
{
    QVariant written;
    if (!recorder || !QMetaObject::invokeMethod(recorder, "take", Q_RETURN_ARG(QVariant, written)))
        return {QStringLiteral("<take failed>")};
    if (written.userType() == qMetaTypeId<QJSValue>())
        written = written.value<QJSValue>().toVariant();
    return written.toStringList();
}

// A QML scene loaded from the test scene directory.
struct Scene {
    explicit Scene(const QString &file)
    {
        engine.load(QUrl::fromLocalFile(QStringLiteral(TEST_QML_DIR "/") + file));
        if (!engine.rootObjects().isEmpty())
            root = engine.rootObjects().first();
        window = qobject_cast<QQuickWindow *>(root);
    }
    QQmlApplicationEngine engine;
    QObject *root = nullptr;
    QQuickWindow *window = nullptr;
};

#ifdef UIRC_HAS_RECORDER
// Texts of the written lines, optionally only those of one severity.
inline QStringList LogTexts(int severity = -1)
{
    QStringList texts;
    for (const LogRecorder::Line &line : LogRecorder::Lines()) {
        if (severity < 0 || line.severity == severity)
            texts.append(QString::fromStdString(line.text));
    }
    return texts;
}

// The written lines with a given severity, as "text" strings, errors by default.
inline QStringList ErrorLines() { return LogTexts(2); }
#endif

} // namespace TestSupport
