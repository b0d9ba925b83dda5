// The keyboard action "keyclick" against a real QML scene: the key events the window gets, what
// the focused text field receives and does with them, the replies and the log lines.
//
// An event filter on each window writes down every key event Qt delivers to it; the text fields
// of input_keyboard.qml write down what their Keys handlers see.

#include "TestSupport.h"
#include "UIRemoteControl.h"

#include <QJSValue>
#include <QJsonObject>
#include <QQmlProperty>
#include <QQuickItem>
#include <QQuickWindow>
#include <QtTest>

#include <memory>

namespace {

using TestSupport::kAlt;
using TestSupport::kControl;
using TestSupport::kKeypad;
using TestSupport::kMeta;
using TestSupport::kShift;

// "press key=0x41 m=0x4000000 text=[61]": the text as the hex codes of its characters.
QString Describe(const char *type, int key, int modifiers, const QString &text)
{
    QStringList codes;
    for (const QChar c : text)
        codes.append(QString::number(c.unicode(), 16));
    return QStringLiteral("%1 key=0x%2 m=0x%3 text=[%4]")
        .arg(QLatin1String(type))
        .arg(QString::number(uint(key), 16))
        .arg(QString::number(uint(modifiers), 16))
        .arg(codes.join(QLatin1Char(' ')));
}

class WindowKeyRecorder : public QObject {
public:
    explicit WindowKeyRecorder(QWindow *window) { window->installEventFilter(this); }
    QStringList lines;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::KeyPress || event->type() == QEvent::KeyRelease) {
            const auto *key = static_cast<QKeyEvent *>(event);
            QString line = Describe(event->type() == QEvent::KeyPress ? "press" : "release", key->key(),
                                    int(key->modifiers()), key->text());
            if (key->isAutoRepeat())
                line += QStringLiteral(" autorepeat");
            lines.append(line);
        }
        return QObject::eventFilter(watched, event);
    }
};

QStringList Take(QObject *field) { return TestSupport::TakeRecorded(field); }

QString Field(const char *signal, int key, int modifiers, const char *json)
{
    return QStringLiteral("%1 %2 %3 %4").arg(QLatin1String(signal)).arg(key).arg(modifiers).arg(QLatin1String(json));
}

} // namespace

class TestInputKeyboard : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void keyClickTypesIntoFocusedItem();
    void keyGivenAsStringWorksLikeNumber_data();
    void keyGivenAsStringWorksLikeNumber();
    void keyWithControlGivesControlA();
    void modifiersReachFocusedItem_data();
    void modifiersReachFocusedItem();
    void keyTextIsWhatKeyToAsciiGives_data();
    void keyTextIsWhatKeyToAsciiGives();
    void keyClickMatchesQtTestKeyClick_data();
    void keyClickMatchesQtTestKeyClick();
    void unusualKeyCodeDoesNotAbort_data();
    void unusualKeyCodeDoesNotAbort();
    void keyClickOfAnyCodeDoesNotAbort();
    void unknownWindowWithoutDefaultWindowFails_data();
    void unknownWindowWithoutDefaultWindowFails();
    void unknownWindowWithDefaultWindowTypesIntoDefault();
    void keyClickGoesToNamedWindow();
    void keyClickWritesNoEnterLeaveLines();
    void keyClickOverTcp();

private:
    bool Run(QVariantMap args, QWindow *defaultWindow);
    void Activate(QWindow *window);

    std::unique_ptr<TestSupport::Scene> m_scene;
    QWindow *m_other = nullptr;
    QQuickItem *m_field = nullptr;
    QQuickItem *m_otherField = nullptr;
    std::unique_ptr<WindowKeyRecorder> m_keys;
    std::unique_ptr<WindowKeyRecorder> m_otherKeys;
};

void TestInputKeyboard::init()
{
    m_scene.reset(new TestSupport::Scene(QStringLiteral("input_keyboard.qml")));
    QVERIFY2(m_scene->window, "input_keyboard.qml did not load");
    m_other = m_scene->root->findChild<QQuickWindow *>(QStringLiteral("otherKeyWindow"));
    m_field = m_scene->root->findChild<QQuickItem *>(QStringLiteral("field"));
    QVERIFY(m_other && m_field);
    m_otherField = m_other->findChild<QQuickItem *>(QStringLiteral("otherField"));
    QVERIFY(m_otherField);
    QVERIFY(QTest::qWaitForWindowExposed(m_scene->window));
    QVERIFY(QTest::qWaitForWindowExposed(m_other));
    Activate(m_scene->window);
    QTRY_VERIFY_WITH_TIMEOUT(m_field->hasActiveFocus(), 5000);
    m_keys.reset(new WindowKeyRecorder(m_scene->window));
    m_otherKeys.reset(new WindowKeyRecorder(m_other));
    LogRecorder::Clear();
}

void TestInputKeyboard::cleanup()
{
    m_keys.reset();
    m_otherKeys.reset();
    m_scene.reset();
    m_other = nullptr;
    m_field = m_otherField = nullptr;
}

void TestInputKeyboard::Activate(QWindow *window)
{
    window->requestActivate();
    QVERIFY(QTest::qWaitForWindowActive(window));
}

// Runs one "keyclick" in-process; "winobjname" defaults to the main window.
bool TestInputKeyboard::Run(QVariantMap args, QWindow *defaultWindow)
{
    if (!args.contains(QStringLiteral("winobjname")))
        args.insert(QStringLiteral("winobjname"), QStringLiteral("keyWindow"));
    UIRemoteControl control(m_scene->root, nullptr, defaultWindow);
    QVariant value;
    const bool result = control.controlObject(QVariantMap{{QStringLiteral("keyclick"), args}}, value);
    if (value.isValid())
        QTest::qFail("the control gave a value; it must give none", __FILE__, __LINE__);
    return result;
}

// ---------------------------------------------------------------------------------------------

void TestInputKeyboard::keyClickTypesIntoFocusedItem()
{
    QVERIFY(Run({{QStringLiteral("key"), 65}}, nullptr));
    QCOMPARE(m_keys->lines, (QStringList{Describe("press", 0x41, 0, QStringLiteral("a")),
                                         Describe("release", 0x41, 0, QStringLiteral("a"))}));
    QCOMPARE(Take(m_field), (QStringList{Field("pressed", 65, 0, "\"a\""), Field("released", 65, 0, "\"a\"")}));
    QCOMPARE(QQmlProperty::read(m_field, QStringLiteral("text")).toString(), QStringLiteral("a"));

    QVERIFY(Run({{QStringLiteral("key"), int(Qt::Key_B)}, {QStringLiteral("keyboardModifier"), kShift}}, nullptr));
    QVERIFY(Run({{QStringLiteral("key"), int(Qt::Key_Backspace)}}, nullptr));
    QVERIFY(Run({{QStringLiteral("key"), int(Qt::Key_9)}}, nullptr));
    // The text comes from the key code alone: Shift+B still carries "b".
    QCOMPARE(QQmlProperty::read(m_field, QStringLiteral("text")).toString(), QStringLiteral("a9"));
    QCOMPARE(m_otherKeys->lines, QStringList());
    QCOMPARE(Take(m_otherField), QStringList());
}

void TestInputKeyboard::keyGivenAsStringWorksLikeNumber_data()
{
    QTest::addColumn<QVariant>("key");
    QTest::addColumn<QVariant>("modifier");

    QTest::newRow("65 as number") << QVariant(65) << QVariant();
    QTest::newRow("65 as string") << QVariant(QStringLiteral("65")) << QVariant();
    QTest::newRow("65 as double") << QVariant(65.0) << QVariant();
    QTest::newRow("65 as string, Control as string")
        << QVariant(QStringLiteral("65")) << QVariant(QStringLiteral("67108864"));
    QTest::newRow("65 as double, Control as double") << QVariant(65.0) << QVariant(double(kControl));
}

void TestInputKeyboard::keyGivenAsStringWorksLikeNumber()
{
    QFETCH(QVariant, key);
    QFETCH(QVariant, modifier);

    QVariantMap args{{QStringLiteral("key"), key}};
    if (modifier.isValid())
        args.insert(QStringLiteral("keyboardModifier"), modifier);
    QVERIFY(Run(args, nullptr));
    const QStringList viaVariant = m_keys->lines;
    const QStringList fieldViaVariant = Take(m_field);

    m_keys->lines.clear();
    QVariantMap numeric{{QStringLiteral("key"), 65}};
    if (modifier.isValid())
        numeric.insert(QStringLiteral("keyboardModifier"), modifier.toInt());
    QVERIFY(Run(numeric, nullptr));
    QCOMPARE(viaVariant, m_keys->lines);
    QCOMPARE(fieldViaVariant, Take(m_field));
    QVERIFY(viaVariant.contains(Describe("press", 0x41, modifier.toInt(), QStringLiteral("a"))));
}

void TestInputKeyboard::keyWithControlGivesControlA()
{
    QVERIFY(QQmlProperty::write(m_field, QStringLiteral("text"), QStringLiteral("hello")));
    QVERIFY(QMetaObject::invokeMethod(m_field, "deselect"));
    QCOMPARE(QQmlProperty::read(m_field, QStringLiteral("selectedText")).toString(), QString());

    QVERIFY(Run({{QStringLiteral("key"), 65}, {QStringLiteral("keyboardModifier"), kControl}}, nullptr));

    // One library key click: the Control key goes down, A is typed with Control held, and
    // Control comes up again (a modifier key's own event reports the state after it).
    QCOMPARE(m_keys->lines, (QStringList{Describe("press", Qt::Key_Control, kControl, QString()),
                                         Describe("press", 0x41, kControl, QStringLiteral("a")),
                                         Describe("release", 0x41, kControl, QStringLiteral("a")),
                                         Describe("release", Qt::Key_Control, 0, QString())}));
    QCOMPARE(QQmlProperty::read(m_field, QStringLiteral("selectedText")).toString(), QStringLiteral("hello"));
    QCOMPARE(QQmlProperty::read(m_field, QStringLiteral("text")).toString(), QStringLiteral("hello"));
    const QStringList entries = Take(m_field);
    QVERIFY(entries.contains(Field("pressed", 65, kControl, "\"a\"")));
}

void TestInputKeyboard::modifiersReachFocusedItem_data()
{
    QTest::addColumn<int>("modifier");

    QTest::newRow("Shift") << kShift;
    QTest::newRow("Control") << kControl;
    QTest::newRow("Alt") << kAlt;
    QTest::newRow("Meta") << kMeta;
    QTest::newRow("Shift+Control+Alt+Meta") << (kShift | kControl | kAlt | kMeta);
    QTest::newRow("Keypad") << kKeypad;
}

void TestInputKeyboard::modifiersReachFocusedItem()
{
    QFETCH(int, modifier);

    QVERIFY(Run({{QStringLiteral("key"), int(Qt::Key_F5)}, {QStringLiteral("keyboardModifier"), modifier}}, nullptr));
    const QStringList entries = Take(m_field);
    QVERIFY2(entries.contains(Field("pressed", Qt::Key_F5, modifier, "\"\"")), qPrintable(entries.join(" | ")));
    QVERIFY2(entries.contains(Field("released", Qt::Key_F5, modifier, "\"\"")), qPrintable(entries.join(" | ")));
    QVERIFY(m_keys->lines.contains(Describe("press", Qt::Key_F5, modifier, QString())));
}

void TestInputKeyboard::keyTextIsWhatKeyToAsciiGives_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<QString>("text");

    QTest::newRow("A") << int(Qt::Key_A) << QStringLiteral("a");
    QTest::newRow("Backspace") << int(Qt::Key_Backspace) << QStringLiteral("\x08");
    QTest::newRow("Tab") << int(Qt::Key_Tab) << QStringLiteral("\t");
    QTest::newRow("Backtab") << int(Qt::Key_Backtab) << QStringLiteral("\x0b");
    QTest::newRow("Return") << int(Qt::Key_Return) << QStringLiteral("\r");
    QTest::newRow("Enter") << int(Qt::Key_Enter) << QStringLiteral("\r");
    QTest::newRow("Escape") << int(Qt::Key_Escape) << QStringLiteral("\x1b");
    QTest::newRow("Aring") << int(Qt::Key_Aring) << QString(QChar(0xe5));
    QTest::newRow("Ooblique") << int(Qt::Key_Ooblique) << QString(QChar(0xf8));
    QTest::newRow("Delete") << int(Qt::Key_Delete) << QString();
    QTest::newRow("F12") << int(Qt::Key_F12) << QString();
}

// The key's text is derived from its code exactly as QTest::keyToAscii() does.
void TestInputKeyboard::keyTextIsWhatKeyToAsciiGives()
{
    QFETCH(int, key);
    QFETCH(QString, text);

    QCOMPARE(QString::fromLatin1(QByteArray(1, QTest::keyToAscii(Qt::Key(key))).constData(), text.isEmpty() ? 0 : 1),
             text);
    QVERIFY(Run({{QStringLiteral("key"), key}}, nullptr));
    QCOMPARE(m_keys->lines.value(0), Describe("press", key, 0, text));
    QCOMPARE(m_keys->lines.value(1), Describe("release", key, 0, text));
}

void TestInputKeyboard::keyClickMatchesQtTestKeyClick_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("modifier");

    const QVector<QPair<const char *, int>> keys = {
        {"A", Qt::Key_A},           {"Z", Qt::Key_Z},
        {"0", Qt::Key_0},           {"Space", Qt::Key_Space},
        {"AsciiTilde", Qt::Key_AsciiTilde}, {"QuoteLeft", Qt::Key_QuoteLeft},
        {"Return", Qt::Key_Return}, {"Enter", Qt::Key_Enter},
        {"Escape", Qt::Key_Escape}, {"Tab", Qt::Key_Tab},
        {"Backtab", Qt::Key_Backtab}, {"Backspace", Qt::Key_Backspace},
        {"Delete", Qt::Key_Delete}, {"Left", Qt::Key_Left},
        {"F1", Qt::Key_F1},         {"F35", Qt::Key_F35},
        {"Shift", Qt::Key_Shift},   {"Control", Qt::Key_Control},
        {"Menu", Qt::Key_Menu},     {"Direction_R", Qt::Key_Direction_R},
        {"VolumeUp", Qt::Key_VolumeUp}, {"LaunchF", Qt::Key_LaunchF},
        {"nobreakspace", Qt::Key_nobreakspace},
        {"Aring", Qt::Key_Aring},   {"multiply", Qt::Key_multiply},
        {"ssharp", Qt::Key_ssharp}, {"division", Qt::Key_division},
        {"ydiaeresis", Qt::Key_ydiaeresis},
    };
    const QVector<QPair<const char *, int>> modifiers = {
        {"none", 0}, {"Shift", kShift}, {"Control", kControl}, {"Alt", kAlt}, {"Meta", kMeta},
        {"Shift+Control", kShift | kControl}, {"Keypad", kKeypad},
        // No valid modifier bit: key clicks pass it on unscreened.
        {"1", 1},
    };
    for (const auto &key : keys) {
        for (const auto &modifier : modifiers)
            QTest::addRow("%s %s", key.first, modifier.first) << key.second << modifier.second;
    }
}

// The control and QTest::keyClick, one after the other on the same scene, deliver the same key
// events (type, key, modifiers, text) and the field reacts the same way.
void TestInputKeyboard::keyClickMatchesQtTestKeyClick()
{
    QFETCH(int, key);
    QFETCH(int, modifier);

    QVERIFY(Run({{QStringLiteral("key"), key}, {QStringLiteral("keyboardModifier"), modifier}}, nullptr));
    const QStringList viaControl = m_keys->lines;
    const QStringList fieldViaControl = Take(m_field);
    QVERIFY(!viaControl.isEmpty());

    m_keys->lines.clear();
    QTest::keyClick(m_scene->window, Qt::Key(key), Qt::KeyboardModifiers(modifier));
    QCOMPARE(viaControl, m_keys->lines);
    QCOMPARE(fieldViaControl, Take(m_field));
}

void TestInputKeyboard::unusualKeyCodeDoesNotAbort_data()
{
    QTest::addColumn<QVariant>("key");
    QTest::addColumn<int>("code");

    // None of these is known to QTest::keyToAscii(), which asserts on them.
    QTest::newRow("absent key") << QVariant() << 0;
    QTest::newRow("0") << QVariant(0) << 0;
    QTest::newRow("0x01FFFFFF") << QVariant(0x01FFFFFF) << 0x01FFFFFF;
    QTest::newRow("0x7f") << QVariant(0x7f) << 0x7f;
    QTest::newRow("0x61") << QVariant(0x61) << 0x61;
    QTest::newRow("0xe0") << QVariant(0xe0) << 0xe0;
    QTest::newRow("0x01000061") << QVariant(0x01000061) << 0x01000061;
    QTest::newRow("-1") << QVariant(-1) << -1;
    QTest::newRow("not a number") << QVariant(QStringLiteral("A")) << 0;
}

void TestInputKeyboard::unusualKeyCodeDoesNotAbort()
{
    QFETCH(QVariant, key);
    QFETCH(int, code);

    QVariantMap args;
    if (key.isValid())
        args.insert(QStringLiteral("key"), key);
    QVERIFY(Run(args, nullptr));
    // Sent as it is, without text.
    QCOMPARE(m_keys->lines, (QStringList{Describe("press", code, 0, QString()), Describe("release", code, 0, QString())}));
    QCOMPARE(TestSupport::ErrorLines(), QStringList());

    // The application goes on.
    m_keys->lines.clear();
    Take(m_field);
    QVERIFY(Run({{QStringLiteral("key"), 65}}, nullptr));
    QCOMPARE(Take(m_field).value(0), Field("pressed", 65, 0, "\"a\""));
}

// A sweep over the Latin-1 codes and the block of named keys: every click answers true and the
// process survives, whether or not QTest::keyToAscii() knows the code.
void TestInputKeyboard::keyClickOfAnyCodeDoesNotAbort()
{
    QVector<int> codes;
    for (int code = 0; code <= 0xff; ++code)
        codes.append(code);
    for (int code = 0x01000000; code <= 0x010000ff; ++code)
        codes.append(code);
    for (int code = 0x01010000; code <= 0x01010003; ++code)
        codes.append(code);
    codes << 0x01100000 << 0x01110000 << 0x01FFFFFF << 0x7fffffff;

    for (int code : qAsConst(codes)) {
        m_keys->lines.clear();
        QVERIFY2(Run({{QStringLiteral("key"), code}}, nullptr), qPrintable(QString::number(code, 16)));
        QVERIFY2(m_keys->lines.size() >= 2, qPrintable(QString::number(code, 16)));
        QVERIFY2(m_keys->lines.first().startsWith(QStringLiteral("press key=0x%1 ").arg(QString::number(uint(code), 16))),
                 qPrintable(m_keys->lines.first()));
    }
    QCOMPARE(TestSupport::ErrorLines(), QStringList());
}

void TestInputKeyboard::unknownWindowWithoutDefaultWindowFails_data()
{
    QTest::addColumn<QVariant>("name");
    QTest::addColumn<QString>("error");

    QTest::newRow("unknown name") << QVariant(QStringLiteral("nowhere"))
                                  << QStringLiteral("UIRemoteControl::DoKeyClick, can not find window object nowhere");
    QTest::newRow("name with spaces") << QVariant(QStringLiteral("key Window"))
                                      << QStringLiteral("UIRemoteControl::DoKeyClick, can not find window object key Window");
    QTest::newRow("wrong case") << QVariant(QStringLiteral("KEYWINDOW"))
                                << QStringLiteral("UIRemoteControl::DoKeyClick, can not find window object KEYWINDOW");
}

void TestInputKeyboard::unknownWindowWithoutDefaultWindowFails()
{
    QFETCH(QVariant, name);
    QFETCH(QString, error);

    QVERIFY(!Run({{QStringLiteral("winobjname"), name}, {QStringLiteral("key"), 65}}, nullptr));
    QCOMPARE(TestSupport::ErrorLines(), QStringList{error});
    QCOMPARE(m_keys->lines, QStringList());
    QCOMPARE(m_otherKeys->lines, QStringList());
    QCOMPARE(Take(m_field), QStringList());
    QCOMPARE(QQmlProperty::read(m_field, QStringLiteral("text")).toString(), QString());
}

void TestInputKeyboard::unknownWindowWithDefaultWindowTypesIntoDefault()
{
    QVERIFY(Run({{QStringLiteral("winobjname"), QStringLiteral("nowhere")}, {QStringLiteral("key"), 65}},
                m_scene->window));
    QCOMPARE(TestSupport::ErrorLines(), QStringList());
    QCOMPARE(m_keys->lines, (QStringList{Describe("press", 0x41, 0, QStringLiteral("a")),
                                         Describe("release", 0x41, 0, QStringLiteral("a"))}));
    QCOMPARE(QQmlProperty::read(m_field, QStringLiteral("text")).toString(), QStringLiteral("a"));
}

void TestInputKeyboard::keyClickGoesToNamedWindow()
{
    Activate(m_other);
    QTRY_VERIFY_WITH_TIMEOUT(m_otherField->hasActiveFocus(), 5000);

    // The named window wins over the default window.
    QVERIFY(Run({{QStringLiteral("winobjname"), QStringLiteral("otherKeyWindow")}, {QStringLiteral("key"), 66}},
                m_scene->window));
    QCOMPARE(m_otherKeys->lines, (QStringList{Describe("press", 0x42, 0, QStringLiteral("b")),
                                              Describe("release", 0x42, 0, QStringLiteral("b"))}));
    QCOMPARE(m_keys->lines, QStringList());
    QCOMPARE(QQmlProperty::read(m_otherField, QStringLiteral("text")).toString(), QStringLiteral("b"));
    QCOMPARE(QQmlProperty::read(m_field, QStringLiteral("text")).toString(), QString());
}

void TestInputKeyboard::keyClickWritesNoEnterLeaveLines()
{
    QVERIFY(Run({{QStringLiteral("key"), 65}}, nullptr));
    QVERIFY(!Run({{QStringLiteral("winobjname"), QStringLiteral("nowhere")}, {QStringLiteral("key"), 65}}, nullptr));
    const QStringList all = TestSupport::LogTexts();
    QCOMPARE(all, QStringList{QStringLiteral("UIRemoteControl::DoKeyClick, can not find window object nowhere")});
    QCOMPARE(LogRecorder::Lines().size(), size_t(1));
    QCOMPARE(LogRecorder::Lines().front().severity, 2);
}

void TestInputKeyboard::keyClickOverTcp()
{
    QVERIFY(QQmlProperty::write(m_field, QStringLiteral("text"), QStringLiteral("hello")));
    QVERIFY(QMetaObject::invokeMethod(m_field, "deselect"));

    const quint16 port = TestSupport::FreePort();
    UIRemoteControl control(m_scene->root, nullptr, port, nullptr);
    QVERIFY(control.IsListening());
    TestSupport::ReplyClient client;
    client.ConnectTo(port);
    QTRY_VERIFY_WITH_TIMEOUT(client.IsConnected(), 5000);

    client.Send(R"J({"keyclick": {"winobjname": "keyWindow", "key": "65", "keyboardModifier": 67108864}})J");
    QTRY_COMPARE_WITH_TIMEOUT(client.replies.size(), 1, 5000);
    QCOMPARE(client.replies.at(0), (QJsonObject{{QStringLiteral("result"), true}}));
    QCOMPARE(QQmlProperty::read(m_field, QStringLiteral("selectedText")).toString(), QStringLiteral("hello"));
    QVERIFY(m_keys->lines.contains(Describe("press", 0x41, kControl, QStringLiteral("a"))));

    client.Send(R"J({"keyclick": {"winobjname": "keyWindow", "key": 16777220}})J");
    QTRY_COMPARE_WITH_TIMEOUT(client.replies.size(), 2, 5000);
    QCOMPARE(client.replies.at(1), (QJsonObject{{QStringLiteral("result"), true}}));
    QVERIFY(m_keys->lines.contains(Describe("press", Qt::Key_Return, 0, QStringLiteral("\r"))));

    m_keys->lines.clear();
    client.Send(R"J({"keyclick": {"winobjname": "nowhere", "key": 65}})J");
    QTRY_COMPARE_WITH_TIMEOUT(client.replies.size(), 3, 5000);
    QCOMPARE(client.replies.at(2), (QJsonObject{{QStringLiteral("result"), false}}));
    QCOMPARE(TestSupport::ErrorLines(),
             QStringList{QStringLiteral("UIRemoteControl::DoKeyClick, can not find window object nowhere")});
    QCOMPARE(m_keys->lines, QStringList());
    QCOMPARE(QQmlProperty::read(m_field, QStringLiteral("text")).toString(), QStringLiteral("hello"));
    QCOMPARE(client.malformed, 0);
}

QTEST_MAIN(TestInputKeyboard)
#include "tst_input_keyboard.moc"
