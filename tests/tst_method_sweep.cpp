// The method sweep: for common Qt Quick, Controls and QML types, every invokable method of an
// instance (found through its QMetaObject) is called through "invoke", "invokeret" and getpro's
// "method", with plausible and implausible arguments. Every call must answer, true or false;
// none may crash (the suite also runs under the sanitizers, scripts/test-sanitize.sh).
//
// Each method gets a fresh scene, so that one that destroys or closes its object (destroy,
// deleteLater, close, clear) leaves nothing behind for the next. Methods that end the process
// by design would end the sweep; none of the swept types has one, and kEndsTheProcess names
// what would be skipped. UIRC_SWEEP=long (scripts/fuzz.sh long) adds arguments out of range, nested
// values and object arguments.

#include "TestSupport.h"
#include "UIRemoteControl.h"

#include <QMetaMethod>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QtTest>

namespace {

const QStringList kEndsTheProcess = {QStringLiteral("quit"), QStringLiteral("exit")};

// type (its import) -> the declaration of the instance named "target"
struct SweptType {
    const char *name;
    const char *declaration;
};

const SweptType kShortTypes[] = {
    {"Loader", "Loader { objectName: 'target' }"},
    {"Component", "Item { Component { id: made; Rectangle {} } Component.onCompleted: made.objectName = 'target' }"},
    {"Repeater", "Row { Repeater { objectName: 'target'; model: 3; Rectangle { width: 5; height: 5 } } }"},
    {"ListView", "ListView { objectName: 'target'; width: 50; height: 50; model: 5; delegate: Text { text: index } }"},
    {"StackView", "StackView { objectName: 'target'; width: 50; height: 50; initialItem: Item {} }"},
    {"Popup", "Popup { objectName: 'target' }"},
    {"Dialog", "Dialog { objectName: 'target'; title: 'd' }"},
    {"Timer", "Timer { objectName: 'target'; interval: 1 }"},
    {"NumberAnimation", "Item { id: i; NumberAnimation { objectName: 'target'; target: i; property: 'x'; to: 5; duration: 1 } }"},
    {"Button", "Button { objectName: 'target'; text: 'b' }"},
    {"TextField", "TextField { objectName: 'target'; text: 'abc' }"},
    {"ComboBox", "ComboBox { objectName: 'target'; model: ['a', 'b'] }"},
    {"SpinBox", "SpinBox { objectName: 'target' }"},
    {"Slider", "Slider { objectName: 'target' }"},
};

const SweptType kLongTypes[] = {
    {"GridView", "GridView { objectName: 'target'; width: 50; height: 50; model: 5; delegate: Text { text: index } }"},
    {"PathView", "PathView { objectName: 'target'; model: 3; delegate: Text { text: index } path: Path { startX: 0; startY: 0; PathLine { x: 50; y: 0 } } }"},
    {"SwipeView", "SwipeView { objectName: 'target'; Item {} Item {} }"},
    {"TabBar", "TabBar { objectName: 'target'; TabButton { text: 't' } }"},
    {"Drawer", "Drawer { objectName: 'target' }"},
    {"Menu", "Menu { objectName: 'target'; MenuItem { text: 'm' } }"},
    {"ToolTip", "ToolTip { objectName: 'target'; text: 't' }"},
    {"TextArea", "TextArea { objectName: 'target'; text: 'abc' }"},
    {"TextEdit", "TextEdit { objectName: 'target'; text: 'abc' }"},
    {"TextInput", "TextInput { objectName: 'target'; text: 'abc' }"},
    {"CheckBox", "CheckBox { objectName: 'target' }"},
    {"RangeSlider", "RangeSlider { objectName: 'target' }"},
    {"Tumbler", "Tumbler { objectName: 'target'; model: 3 }"},
    {"Flickable", "Flickable { objectName: 'target'; width: 20; height: 20; contentHeight: 100 }"},
    {"ScrollView", "ScrollView { objectName: 'target'; width: 20; height: 20 }"},
    {"MouseArea", "MouseArea { objectName: 'target' }"},
    {"Image", "Image { objectName: 'target' }"},
    {"Rectangle", "Rectangle { objectName: 'target' }"},
    {"ListModel", "Item { ListModel { objectName: 'target'; ListElement { a: 1 } } }"},
    {"SequentialAnimation", "SequentialAnimation { objectName: 'target'; PauseAnimation { duration: 1 } }"},
};

bool LongSweep() { return qgetenv("UIRC_SWEEP") == "long"; }

// A plausible value of a parameter type, for the argument lists below.
QVariant Plausible(int type)
{
    switch (type) {
    case QMetaType::Int: case QMetaType::UInt: case QMetaType::LongLong: case QMetaType::ULongLong: return 1;
    case QMetaType::Double: case QMetaType::Float: return 0.5;
    case QMetaType::Bool: return true;
    case QMetaType::QString: return QStringLiteral("faults_two_page.qml");
    case QMetaType::QUrl: return QStringLiteral("faults_two_page.qml");
    default: return QVariant::fromValue(nullptr);
    }
}

// The argument lists a method is called with: plausible ones of its own types, nothing, one too
// many, and values of the wrong kind, out of range or nested.
QList<QVariantList> ArgumentLists(const QMetaMethod &method)
{
    QVariantList plausible, zeros, strings, huge, nested;
    const int count = method.parameterCount();
    for (int i = 0; i < count; ++i) {
        plausible.append(Plausible(method.parameterType(i)));
        zeros.append(0);
        strings.append(QStringLiteral("x"));
        huge.append(-1e300);
        nested.append(QVariantMap{{QStringLiteral("objectName"), QVariantList{QVariantMap{}}}});
    }
    QVariantList tooMany = plausible;
    tooMany.append(QStringLiteral("x"));
    QList<QVariantList> lists = {plausible, QVariantList{}, tooMany, strings};
    if (LongSweep())
        lists << zeros << huge << nested << QVariantList{QVariant::fromValue(nullptr), QVariantMap{{"x", 1}}}
              << QVariantList{QStringLiteral("faults_two_page.qml"), QVariantMap{{"opacity", 1}}};
    return lists;
}

// A window holding one instance of the type, with its own engine.
struct SweepScene {
    explicit SweepScene(const SweptType &type)
    {
        const QByteArray qml = QByteArray("import QtQuick 2.15\nimport QtQuick.Window 2.15\nimport QtQuick.Controls 2.15\n"
                                          "Window { objectName: 'sweepWindow'; width: 200; height: 200; visible: true\n") +
                               type.declaration + "\n}\n";
        QQmlComponent component(&engine);
        component.setData(qml, QUrl::fromLocalFile(QStringLiteral(TEST_QML_DIR "/sweep.qml")));
        root.reset(component.create());
        if (!root)
            qWarning("%s", qPrintable(component.errorString()));
        window = qobject_cast<QQuickWindow *>(root.data());
    }
    QObject *Target() const { return root ? root->findChild<QObject *>(QStringLiteral("target")) : nullptr; }

    QQmlEngine engine;
    QScopedPointer<QObject> root;
    QQuickWindow *window = nullptr;
};

} // namespace

class TestMethodSweep : public QObject {
    Q_OBJECT

private slots:
    void sweep_data()
    {
        QTest::addColumn<int>("index");
        const int shortCount = int(sizeof(kShortTypes) / sizeof(kShortTypes[0]));
        const int longCount = int(sizeof(kLongTypes) / sizeof(kLongTypes[0]));
        for (int i = 0; i < shortCount + longCount; ++i)
            QTest::newRow(i < shortCount ? kShortTypes[i].name : kLongTypes[i - shortCount].name) << i;
    }

    void sweep()
    {
        QFETCH(int, index);
        const int shortCount = int(sizeof(kShortTypes) / sizeof(kShortTypes[0]));
        const SweptType &type = index < shortCount ? kShortTypes[index] : kLongTypes[index - shortCount];
        QStringList methods;
        {
            SweepScene probe(type);
            QObject *target = probe.Target();
            QVERIFY2(target, type.name);
            const QMetaObject *meta = target->metaObject();
            for (int i = 0; i < meta->methodCount(); ++i) {
                const QMetaMethod method = meta->method(i);
                const bool callable = method.methodType() == QMetaMethod::Method || method.methodType() == QMetaMethod::Slot;
                if (callable && method.access() != QMetaMethod::Private && !kEndsTheProcess.contains(QString::fromLatin1(method.name())))
                    methods.append(QString::fromLatin1(method.methodSignature()));
            }
        }
        int calls = 0;
        for (const QString &signature : qAsConst(methods)) {
            SweepScene scene(type);
            QVERIFY(scene.Target());
            UIRemoteControl remote(scene.root.data(), scene.engine.rootContext(), scene.window);
            remote.setExtensionsEnabled(true);
            const QMetaMethod method = scene.Target()->metaObject()->method(
                scene.Target()->metaObject()->indexOfMethod(signature.toLatin1().constData()));
            const QString name = QString::fromLatin1(method.name());
            for (const QVariantList &arguments : ArgumentLists(method)) {
                const QVariantMap call{{QStringLiteral("objname"), QStringLiteral("target")},
                                       {QStringLiteral("method"), name}, {QStringLiteral("mthargs"), arguments}};
                QVariantMap getpro = call;
                getpro.insert(QStringLiteral("property"), QStringLiteral("objectName"));
                for (const QVariantMap &request : {QVariantMap{{QStringLiteral("invoke"), call}},
                                                   QVariantMap{{QStringLiteral("invokeret"), call}},
                                                   QVariantMap{{QStringLiteral("getpro"), getpro}}}) {
                    QVariant value;
                    remote.controlObject(request, value); // true or false: either is an answer
                    ++calls;
                    QCoreApplication::processEvents(); // deleteLater, queued loads and signals
                }
            }
        }
        qInfo("%s: %d methods, %d calls", type.name, int(methods.size()), calls);
    }
};

QTEST_MAIN(TestMethodSweep)
#include "tst_method_sweep.moc"
