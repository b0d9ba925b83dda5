// Fuzz target: arbitrary bytes arrive at a real testing server as one read of one connected
// client and go the whole way a client's bytes go: framing, parsing, extraction, dispatch and
// the control handlers, against a small QML scene (wire_scene.qml, created afresh per input).
//
// Checked for every input (a violation calls abort(), so libFuzzer reports the input):
//  - no crash and no sanitizer report;
//  - no hang: all replies arrive within kReplyTimeoutMs plus the input's delays; a control that
//    never returns is caught by libFuzzer's -timeout;
//  - every message is answered exactly once, in order: the number of messages is computed here
//    from the bytes with the framing rule written again, independently of the library, and
//    compared with the replies counted on the server (ResponseToClient) and on the client (a
//    string-aware scanner cuts the indented reply objects out of the byte stream);
//  - PickNextControl runs once per message plus once for the read, and never two messages
//    are in work at once;
//  - every reply is a JSON object with a boolean "result" and nothing but a "value" beside it;
//  - the replies the rules fix whatever the scene holds are right: {"result": false} for text
//    that is not a JSON object, for an object without a control word and for
//    "getfltmdlitemval"; {"result": true} for the four host-plugin bridge controls.
//
// Bounds, so that one input stays short and inputs stay independent:
//  - inputs longer than kMaxInput bytes are rejected: a single write of that size always
//    arrives as a single read on loopback;
//  - inputs whose delays (positive non-control top-level values) and signal waits add up to
//    more than kTimeBudgetMs are rejected; "waitsignal" time-outs above kWaitSignalCapMs are
//    lowered to it (FuzzRemoteControl::DoWaitSignal). Smaller delays and waits run for real,
//    on the library's own timers, and zero or negative time-outs are passed on untouched;
//  - inputs with an object that repeats a key are rejected: Qt's JSON parser leaks on them
//    (RepeatedKeys.h);
//  - inputs that mention "deleteLater" anywhere are rejected: a client may delete any object it
//    can name, the root object and the host plugins included, which ends the harness rather
//    than finding a bug in the library;
//  - writes to "model" are refused (FuzzRemoteControl::DoSetProperty): a repeater or view told
//    to show a billion rows builds a billion delegates, which is Qt doing as it is told;
//  - the windows stay hidden: writes to "visible" and "visibility" and calls of show...() and
//    setVisible()/setVisibility() are refused (DoSetProperty, DoInvokeMethod,
//    DoInvokeRetMethod). A client may make a window 30000 pixels square and show it, and the
//    software renderer then allocates an image of gigabytes; rendering is Qt's business anyway.
//
// The scene is created before and destroyed after each input; the server, its client, the root
// object and the host plugins live for the whole run and are freed when it ends, before the
// leak check at exit. Qt's own messages are silenced (set
// FUZZ_VERBOSE=1 to see them).

#include "IKRVNTreeModel.h"
#include "LogRecorder.h"
#include "RepeatedKeys.h"
#include "UIRemoteControl.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPointer>
#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QtTest/qtestmouse.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

const int kMaxInput = 4096;
const int kTimeBudgetMs = 60;
const int kWaitSignalCapMs = 5;
const int kReplyTimeoutMs = 5000;

bool g_verbose = false;

// ---------------------------------------------------------------------------------------------
// What the input should produce, worked out from the bytes alone.

// The framing rule as a client has to assume it: a '"' flips "inside a string"; outside
// strings ASCII whitespace is dropped and a '{' right after a kept '}' starts a new message;
// the end of the read ends the last message, even an empty one.
QList<QByteArray> SplitMessages(const char *data, int size)
{
    QList<QByteArray> messages;
    QByteArray current;
    bool quoted = false;
    for (int i = 0; i < size; ++i) {
        const char c = data[i];
        if (quoted) {
            current.append(c);
            quoted = c != '"';
            continue;
        }
        switch (c) {
        case '"':
            quoted = true;
            break;
        case ' ': case '\t': case '\n': case '\v': case '\f': case '\r':
            continue;
        case '{':
            if (!current.isEmpty() && current.at(current.size() - 1) == '}') {
                messages.append(current);
                current.clear();
            }
            break;
        default:
            break;
        }
        current.append(c);
    }
    messages.append(current);
    return messages;
}

const char *const kControlWords[] = {
    "addjoystick", "click", "dbclick", "drag", "drop", "emitpluginsignal", "getpro",
    "getfltmdlitemval", "getgrpmdlitemval", "getmdlitemval", "getwinname", "hover", "invoke",
    "invokeret", "joystickbuttonevent", "keyclick", "movejoystick", "press", "setpro", "waitsignal"};

bool IsControlWord(const QString &key)
{
    for (const char *word : kControlWords) {
        if (key == QLatin1String(word))
            return true;
    }
    return false;
}

enum class Outcome { Any, Fails, Succeeds };

struct Expectation {
    Outcome outcome = Outcome::Any;
    int delay = 0;       // milliseconds the control waits before it runs
    bool waits = false;  // the control is a signal wait
};

bool Mentions(const QJsonValue &value, const QString &word)
{
    switch (value.type()) {
    case QJsonValue::String:
        return value.toString().contains(word);
    case QJsonValue::Array:
        for (const QJsonValue &element : value.toArray()) {
            if (Mentions(element, word))
                return true;
        }
        return false;
    case QJsonValue::Object: {
        const QJsonObject object = value.toObject();
        for (auto it = object.begin(); it != object.end(); ++it) {
            if (it.key().contains(word) || Mentions(it.value(), word))
                return true;
        }
        return false;
    }
    default:
        return false;
    }
}

// False when the message must not be run (see the bounds above).
bool Expect(const QByteArray &message, Expectation &expectation)
{
    // The server decodes each message, all of its bytes (NULs included), as UTF-8 before
    // parsing; parse exactly that text.
    const QString text = QString::fromUtf8(message.constData(), message.size());
    if (FuzzJson::MayRepeatKeys(text.toUtf8()))
        return false; // Qt's parser would leak (RepeatedKeys.h)
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8());
    if (text.isEmpty() || !document.isObject()) {
        expectation.outcome = Outcome::Fails;
        return true;
    }
    const QJsonObject object = document.object();
    if (Mentions(object, QStringLiteral("deleteLater")))
        return false;
    QString type;
    for (auto it = object.begin(); it != object.end(); ++it) {
        if (IsControlWord(it.key()) && (type.isEmpty() || type < it.key()))
            type = it.key();
    }
    if (type.isEmpty()) {
        expectation.outcome = Outcome::Fails;
        return true;
    }
    // The delay is the value of the last (in key order) other key that is a positive integer.
    const QVariantMap map = document.toVariant().toMap();
    for (auto it = map.begin(); it != map.end(); ++it) {
        if (!IsControlWord(it.key()) && it.value().toInt() > 0)
            expectation.delay = it.value().toInt();
    }
    expectation.waits = type == QLatin1String("waitsignal");
    if (type == QLatin1String("getfltmdlitemval"))
        expectation.outcome = Outcome::Fails;
    else if (type == QLatin1String("emitpluginsignal") || type == QLatin1String("movejoystick") ||
             type == QLatin1String("joystickbuttonevent") || type == QLatin1String("addjoystick"))
        expectation.outcome = Outcome::Succeeds;
    return true;
}

// ---------------------------------------------------------------------------------------------
// Host plugins published in the QML context, as a host application would publish them.

class FuzzTreeModel : public IKRVNTreeModel {
public:
    explicit FuzzTreeModel(int depth, QObject *parent = nullptr) : IKRVNTreeModel(parent)
    {
        if (depth > 0) {
            m_child = new FuzzTreeModel(depth - 1, this);
            m_group = new FuzzTreeModel(0, this);
        }
    }
    int rowCount() const override { return 3; }
    QVariant valueByRoleName(int row, const QString &roleName) const override
    {
        if (row < 0 || row >= rowCount())
            return QVariant();
        if (roleName == QLatin1String("name"))
            return QStringLiteral("row%1").arg(row);
        if (roleName == QLatin1String("number"))
            return row * 10;
        if (roleName == QLatin1String("list"))
            return QVariantList{row, QStringLiteral("x")};
        return QVariant();
    }
    QVariant valueByRole(int row, int role) const override
    {
        if (role == ChildModelRole && row >= 0 && row < rowCount() && m_child)
            return QVariant::fromValue<QObject *>(row == 2 ? const_cast<FuzzTreeModel *>(this) : m_child);
        return QVariant();
    }
    bool setValueByRoleName(int, const QString &, const QVariant &) override { return false; }
    IKRVNTreeModel *groupModel(const QString &groupRoleName, int) override
    {
        return groupRoleName == QLatin1String("group") ? m_group : nullptr;
    }
    IKRVNTreeModel *parentModel() const override { return dynamic_cast<IKRVNTreeModel *>(parent()); }

private:
    FuzzTreeModel *m_child = nullptr;
    FuzzTreeModel *m_group = nullptr;
};

class ModelPlugin : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;
    Q_INVOKABLE QObject *treeModel() { return &m_model; }
    Q_INVOKABLE QObject *notAModel() { return this; }
    Q_INVOKABLE QObject *nullModel() { return nullptr; }

private:
    FuzzTreeModel m_model{3};
};

class JoystickPlugin : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;
    Q_INVOKABLE void onDeviceChanged(const QStringList &devices) { m_calls += devices.size(); }
    Q_INVOKABLE void handleButtonEvent(const QString &model, int keyId) { m_calls += model.size() + keyId; }
    Q_INVOKABLE void axisChanged(double x, double y, double z) { m_calls += int(x != y) + int(y != z); }

private:
    int m_calls = 0;
};

class SignalPlugin : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;
    Q_INVOKABLE void reload() { emit refreshed(); }
signals:
    void refreshed();
    void valueChanged(int value);
public slots:
    void reset() { emit valueChanged(0); }
};

// ---------------------------------------------------------------------------------------------
// The server under test, with the few changes that keep one input short (see the bounds above)
// and counters for the checks.

// QWindow's show(), showNormal(), showMaximized(), showMinimized(), showFullScreen(),
// setVisible(bool) and setVisibility(Visibility), as the method-call handlers look them up.
bool ShowsAWindow(const ArgumentMap &args)
{
    const QString method = args.value(QStringLiteral("method")).toString().trimmed();
    return method.startsWith(QLatin1String("show")) || method.startsWith(QLatin1String("setVisib"));
}

class FuzzRemoteControl : public UIRemoteControl {
public:
    using UIRemoteControl::UIRemoteControl;

    int responses = 0;    // ResponseToClient calls
    int picks = 0;        // PickNextControl calls
    int picksRun = 0;     // picks whose scheduled take has run since

protected:
    bool DoWaitSignal(const ArgumentMap &args) override
    {
        const QString key = QStringLiteral("timeout");
        if (args.value(key).toInt() <= kWaitSignalCapMs)
            return UIRemoteControl::DoWaitSignal(args);
        ArgumentMap bounded = args;
        bounded.insert(key, kWaitSignalCapMs);
        return UIRemoteControl::DoWaitSignal(bounded);
    }
    bool DoSetProperty(const ArgumentMap &args) override
    {
        const QString property = args.value(QStringLiteral("property")).toString();
        if (property == QLatin1String("model") || property == QLatin1String("visible") ||
            property == QLatin1String("visibility"))
            return false;
        return UIRemoteControl::DoSetProperty(args);
    }
    bool DoInvokeMethod(const ArgumentMap &args) override
    {
        return ShowsAWindow(args) ? false : UIRemoteControl::DoInvokeMethod(args);
    }
    bool DoInvokeRetMethod(const ArgumentMap &args, QVariant &value) const override
    {
        return ShowsAWindow(args) ? false : UIRemoteControl::DoInvokeRetMethod(args, value);
    }
    void ResponseToClient(QTcpSocket *socket, bool success, const QVariant &value) override
    {
        ++responses;
        UIRemoteControl::ResponseToClient(socket, success, value);
    }
    void PickNextControl() override
    {
        ++picks;
        UIRemoteControl::PickNextControl();
        // Zero-time timers fire in the order they were started: when this one runs, the take
        // scheduled just above has run as well.
        QTimer::singleShot(0, this, [this] { ++picksRun; });
    }
};

// ---------------------------------------------------------------------------------------------
// The client: counts the replies in the byte stream and keeps them for the checks.

class ReplyScanner {
public:
    void Feed(const QByteArray &bytes)
    {
        for (const char c : bytes) {
            if (m_depth == 0) {
                if (c == ' ' || c == '\n' || c == '\r' || c == '\t')
                    continue;
                if (c != '{') {
                    ++malformed;
                    continue;
                }
            }
            m_current.append(c);
            if (m_inString) {
                if (m_escaped)
                    m_escaped = false;
                else if (c == '\\')
                    m_escaped = true;
                else if (c == '"')
                    m_inString = false;
                continue;
            }
            if (c == '"') {
                m_inString = true;
            } else if (c == '{') {
                ++m_depth;
            } else if (c == '}' && --m_depth == 0) {
                replies.append(m_current);
                m_current.clear();
            }
        }
    }
    void Reset()
    {
        replies.clear();
        malformed = 0;
        m_current.clear();
        m_depth = 0;
        m_inString = m_escaped = false;
    }
    bool Partial() const { return !m_current.isEmpty(); }

    QList<QByteArray> replies;
    int malformed = 0;

private:
    QByteArray m_current;
    int m_depth = 0;
    bool m_inString = false;
    bool m_escaped = false;
};

struct Harness {
    QGuiApplication *app = nullptr;
    QQmlEngine *engine = nullptr;
    QQmlComponent *component = nullptr;
    QObject *root = nullptr;
    QQuickWindow *fallbackWindow = nullptr;
    FuzzRemoteControl *remote = nullptr;
    QTcpSocket *client = nullptr;
    QTcpSocket *serverSide = nullptr;
    ReplyScanner scanner;
    int reads = 0;
    qint64 iterations = 0;
};

Harness *g_harness = nullptr;

void Quiet(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (g_verbose || type == QtFatalMsg)
        std::fprintf(stderr, "%s (%s:%d)\n", qPrintable(message), context.file ? context.file : "", context.line);
}

[[noreturn]] void Fail(const char *what, const uint8_t *data, size_t size, int expected)
{
    Harness &h = *g_harness;
    std::fprintf(stderr,
                 "fuzz_wire: %s\n  messages expected: %d, server replies: %d, client replies: %d (malformed %d), "
                 "reads: %d, picks: %d (run %d)\n",
                 what, expected, h.remote->responses, int(h.scanner.replies.size()), h.scanner.malformed, h.reads,
                 h.remote->picks, h.remote->picksRun);
    const QByteArray input(reinterpret_cast<const char *>(data), int(size));
    std::fprintf(stderr, "  input: %s\n", input.left(2000).toPercentEncoding(" {}[]:,\"").constData());
    for (const QByteArray &reply : h.scanner.replies)
        std::fprintf(stderr, "  reply: %s\n", reply.simplified().constData());
    std::abort();
}

// Runs when libFuzzer ends a run normally (exit(), not on a finding). What the harness made is
// freed here, the QML engine included, so that the leak check at exit sees only what was really
// lost during the run. The application object (with the host plugins, its children) and the
// default window stay, still reachable: Qt Quick's render loop, which a window's destructor
// calls, may already be gone this late.
void Teardown()
{
    Harness *h = g_harness;
    if (!h)
        return;
    delete h->client;
    h->client = nullptr;
    delete h->remote;
    h->remote = nullptr;
    delete h->root;
    h->root = nullptr;
    delete h->component;
    h->component = nullptr;
    delete h->engine;
    h->engine = nullptr;
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void Setup()
{
    g_verbose = qEnvironmentVariableIntValue("FUZZ_VERBOSE") != 0;
    qInstallMessageHandler(Quiet);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    // The application gets its own arguments: libFuzzer's must stay untouched.
    static int argc = 1;
    static char name[] = "fuzz_wire";
    static char *argv[] = {name, nullptr};
    auto *h = new Harness;
    g_harness = h;
    h->app = new QGuiApplication(argc, argv);
    QGuiApplication::setQuitOnLastWindowClosed(false);

    h->engine = new QQmlEngine;
    QQmlContext *context = h->engine->rootContext();
    context->setContextProperty(QStringLiteral("modelPlugin"), new ModelPlugin(h->app));
    context->setContextProperty(QStringLiteral("JoystickPlugin"), new JoystickPlugin(h->app));
    context->setContextProperty(QStringLiteral("signalPlugin"), new SignalPlugin(h->app));
    context->setContextProperty(QStringLiteral("plainValue"), 42);
    h->component = new QQmlComponent(h->engine, QUrl::fromLocalFile(QStringLiteral(FUZZ_SCENE)));
    if (!h->component->isReady()) {
        std::fprintf(stderr, "fuzz_wire: cannot load %s: %s\n", FUZZ_SCENE, qPrintable(h->component->errorString()));
        std::exit(1);
    }

    h->root = new QObject;
    h->root->setObjectName(QStringLiteral("app"));
    // The default window, for keys sent to a window name that does not exist. It is not below
    // the root object, so no control can change it.
    h->fallbackWindow = new QQuickWindow;
    h->fallbackWindow->setObjectName(QStringLiteral("fallbackWindow"));
    h->fallbackWindow->resize(64, 64);

    quint16 port = 0;
    {
        QTcpServer probe;
        probe.listen(QHostAddress::LocalHost, 0);
        port = probe.serverPort();
    }
    h->remote = new FuzzRemoteControl(h->root, context, port, h->fallbackWindow);
    if (!h->remote->IsListening()) {
        std::fprintf(stderr, "fuzz_wire: the testing server does not listen on port %u\n", port);
        std::exit(1);
    }
    h->client = new QTcpSocket;
    QObject::connect(h->client, &QTcpSocket::readyRead, [h] { h->scanner.Feed(h->client->readAll()); });
    h->client->connectToHost(QHostAddress::LocalHost, port);
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < 10000) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        const auto sockets = h->remote->findChildren<QTcpSocket *>();
        if (h->client->state() == QAbstractSocket::ConnectedState && !sockets.isEmpty()) {
            h->serverSide = sockets.first();
            break;
        }
    }
    if (!h->serverSide) {
        std::fprintf(stderr, "fuzz_wire: the client did not connect\n");
        std::exit(1);
    }
    QObject::connect(h->serverSide, &QTcpSocket::readyRead, [h] { ++h->reads; });
    // The replies to several messages of one read are small writes in a row; with Nagle's
    // algorithm each would wait some 40 ms for the client's delayed acknowledgement of the one
    // before. The server turns it off on its sockets; so does this client.
    h->client->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    std::atexit(Teardown);
}

QObject *CreateScene(Harness &h)
{
    QObject *scene = h.component->beginCreate(h.engine->rootContext());
    if (!scene) {
        std::fprintf(stderr, "fuzz_wire: cannot create the scene: %s\n", qPrintable(h.component->errorString()));
        std::abort();
    }
    scene->setParent(h.root);
    h.component->completeCreate();
    return scene;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    Setup();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0; // nothing written, nothing read
    if (size > size_t(kMaxInput))
        return -1;

    const QList<QByteArray> messages = SplitMessages(reinterpret_cast<const char *>(data), int(size));
    QVector<Expectation> expectations(messages.size());
    int budget = 0;
    for (int i = 0; i < messages.size(); ++i) {
        if (!Expect(messages.at(i), expectations[i]))
            return -1;
        budget += qMax(0, expectations.at(i).delay) + (expectations.at(i).waits ? kWaitSignalCapMs : 0);
        if (budget > kTimeBudgetMs)
            return -1;
    }
    const int expected = messages.size();

    Harness &h = *g_harness;
    LogRecorder::Clear();
    h.root->setObjectName(QStringLiteral("app"));
    QTestPrivate::qtestMouseButtons = Qt::NoButton; // a "press" or "drag" of the last input holds a button
    h.scanner.Reset();
    h.reads = 0;
    h.remote->responses = 0;
    h.remote->picks = 0;
    h.remote->picksRun = 0;
    QPointer<QObject> scene = CreateScene(h);

    h.client->write(reinterpret_cast<const char *>(data), qint64(size));
    while (h.client->bytesToWrite() > 0) {
        if (!h.client->flush())
            Fail("the client cannot write", data, size, expected);
    }

    // Wait for every reply, for the server to take no further message and for the take that
    // finds the queue empty to have run.
    QElapsedTimer clock;
    clock.start();
    QTimer tick; // wakes the wait below now and then
    tick.start(5);
    const qint64 limit = kReplyTimeoutMs + budget;
    for (;;) {
        if (h.remote->responses > expected)
            Fail("more replies than messages", data, size, expected);
        if (h.remote->picks > expected + 1)
            Fail("more takes scheduled than messages", data, size, expected);
        if (h.reads > 1)
            Fail("the input did not arrive as one read", data, size, expected);
        if (h.scanner.replies.size() >= expected && h.remote->responses == expected &&
            h.remote->picks == expected + 1 && h.remote->picksRun == h.remote->picks)
            break;
        if (clock.elapsed() > limit)
            Fail("not every message was answered in time", data, size, expected);
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    tick.stop();

    if (h.scanner.replies.size() != expected || h.scanner.malformed || h.scanner.Partial())
        Fail("the client did not receive one well-formed reply per message", data, size, expected);
    for (int i = 0; i < expected; ++i) {
        const QJsonDocument reply = QJsonDocument::fromJson(h.scanner.replies.at(i));
        const QJsonObject object = reply.object();
        if (!reply.isObject() || !object.value(QStringLiteral("result")).isBool())
            Fail("a reply is not an object with a boolean result", data, size, expected);
        if (object.size() > 2 || (object.size() == 2 && !object.contains(QStringLiteral("value"))))
            Fail("a reply holds keys other than result and value", data, size, expected);
        const bool result = object.value(QStringLiteral("result")).toBool();
        const Outcome outcome = expectations.at(i).outcome;
        if ((outcome == Outcome::Fails && (result || object.contains(QStringLiteral("value")))) ||
            (outcome == Outcome::Succeeds && !result))
            Fail("a reply contradicts the message", data, size, expected);
    }

    // The scene goes; objects whose deletion was posted go with it.
    delete scene.data();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    if (++h.iterations % 256 == 0)
        h.engine->collectGarbage();
    return 0;
}

#include "fuzz_wire.moc"
