// Host tree models: finding a plugin's model through the QML context, walking a row path down
// nested models, and the model value controls run through the loaded plugin.

#include "HostPlugins.h"
#include "PluginHost.h"
#include "TestSupport.h"

#include "UIRemoteControl.h"

#include <QJsonObject>
#include <QQmlContext>
#include <QtTest>

using TestSupport::ErrorLines;
using TestSupport::LogTexts;

namespace {

// Opens the protected model lookups of the remote control for direct calls.
class ModelProbe : public UIRemoteControl {
public:
    using UIRemoteControl::UIRemoteControl;
    using UIRemoteControl::FindValueInModel;
    using UIRemoteControl::GetModel;
};

const QString kGetModel = QStringLiteral("getmdlitemval");
const QString kGetGroup = QStringLiteral("getgrpmdlitemval");
const QString kGetFilter = QStringLiteral("getfltmdlitemval");

QVariantMap ModelArgs(const QString &rowPath, const QString &roleName = QStringLiteral("name"),
                      const QString &method = QStringLiteral("treeModel"),
                      const QString &plugin = QStringLiteral("ModelPlugin"))
{
    return {{QStringLiteral("pluginname"), plugin},
            {QStringLiteral("method"), method},
            {QStringLiteral("mdlitemrowpth"), rowPath},
            {QStringLiteral("mdlitemrolename"), roleName}};
}

QVariantMap GroupArgs(const QString &group, const QString &rowPath, const QString &plugin = QStringLiteral("ModelPlugin"),
                      const QString &method = QStringLiteral("treeModel"))
{
    QVariantMap args = ModelArgs(rowPath, QStringLiteral("name"), method, plugin);
    args.insert(QStringLiteral("grouprolename"), group);
    return args;
}

QVariantMap Success(const QVariant &value)
{
    return {{QStringLiteral("success"), true}, {QStringLiteral("retValue"), value}};
}

using RoleCalls = QList<QPair<int, int>>;
using RoleNameCalls = QList<QPair<int, QString>>;

const int kChildRole = 259;

} // namespace

class TestPluginModels : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void childModelRoleIsUserRolePlusThree();
    void pathZeroTwoReadsRowTwoOfRowZerosChildModel();
    void pathOneZeroAnswersRowZeroNameOfRowOnesChildModel();
    void threeElementPathWalksOneModelPerElement();
    void rowPathTextSelectsTheRow_data();
    void rowPathTextSelectsTheRow();
    void oneElementPathNeverCallsValueByRole_data();
    void oneElementPathNeverCallsValueByRole();
    void rowNumbersReachTheModelWithoutRangeCheck();
    void missingChildModelLogsChildNullThenItemValueFailed_data();
    void missingChildModelLogsChildNullThenItemValueFailed();
    void validButFalseOrEmptyValueIsSuccess_data();
    void validButFalseOrEmptyValueIsSuccess();
    void unknownRoleNameFailsWithItemValueFailed();
    void modelControlTracesFollowTheRowPath();
    void getModelReturnsWhatThePluginMethodReturns();
    void pluginMethodReturningNullMakesGetModelReturnNullSilently();
    void pluginMethodReturningNullFailsWithGetModelFailedOnly();
    void unknownPluginLogsCanNotFindThenGetModelFailed();
    void contextPropertyThatIsNoObjectIsNoPlugin();
    void methodThatCannotBeInvokedLogsInvokeFailed_data();
    void methodThatCannotBeInvokedLogsInvokeFailed();
    void emptyPluginOrMethodNameLogsInvalidMessageValue_data();
    void emptyPluginOrMethodNameLogsInvalidMessageValue();
    void missingQmlContextLogsQQmlContextIsNull();
    void emptyNamesAreReportedBeforeTheMissingContext();
    void emptyRowPathGivesValidFalseAndLogsInvalidMessageValue();
    void nullModelInValueSearchLogsChildModelNull();
    void groupValueIsReadFromTheGroupModel();
    void groupUnknownPluginIsReportedBeforeTheGroupName();
    void groupEmptyGroupNameFailsWithInvalidMessageValue_data();
    void groupEmptyGroupNameFailsWithInvalidMessageValue();
    void groupNullGroupModelFailsWithItemValueFailed_data();
    void groupNullGroupModelFailsWithItemValueFailed();
    void groupMissingChildModelLogsChildNullThenItemValueFailed();
    void groupPluginMethodReturningNullFailsWithGetModelFailed();
    void filterModelValueAlwaysFails_data();
    void filterModelValueAlwaysFails();
    void modelControlsAnswerOverTheTestingServer();

private:
    QVariantMap Run(const QString &type, const QVariantMap &args) const
    {
        return PluginHost::Control(m_plugin, type, args);
    }
    int ModelCalls() const
    {
        int calls = 0;
        for (TestTreeModel *model : m_models.Models())
            calls += model->TotalCalls();
        return calls;
    }

    PluginHost m_host;
    ModelPlugin m_models;
    HostScene m_scene;
    PluginBase *m_plugin = nullptr;
};

void TestPluginModels::initTestCase()
{
    m_scene.Publish(QStringLiteral("ModelPlugin"), &m_models);
    m_scene.Publish(QStringLiteral("NotAnObject"), QVariant(42));
    QVERIFY(m_scene.Load(QStringLiteral("plugin_scene.qml")));
    QVERIFY2(m_host.Load(), qPrintable(m_host.loader.errorString()));
}

void TestPluginModels::init()
{
    m_host.DestroyInstance();
    m_plugin = m_host.Start(m_scene.Context(), m_scene.Root());
    QVERIFY(m_plugin);
    m_models.ResetCalls();
    LogRecorder::Clear();
}

void TestPluginModels::cleanup()
{
    m_host.DestroyInstance();
    m_plugin = nullptr;
}

void TestPluginModels::childModelRoleIsUserRolePlusThree()
{
    QCOMPARE(int(IKRVNTreeModel::ChildModelRole), int(Qt::UserRole) + 3);
    QCOMPARE(int(IKRVNTreeModel::ChildModelRole), kChildRole);
}

void TestPluginModels::pathZeroTwoReadsRowTwoOfRowZerosChildModel()
{
    QCOMPARE(Run(kGetModel, ModelArgs(QStringLiteral("0/2"))), Success(QStringLiteral("a2")));
    QCOMPARE(m_models.top->roleCalls, (RoleCalls{{0, kChildRole}}));
    QVERIFY(m_models.top->roleNameCalls.isEmpty());
    QCOMPARE(m_models.childA->roleNameCalls, (RoleNameCalls{{2, QStringLiteral("name")}}));
    QVERIFY(m_models.childA->roleCalls.isEmpty());
    QCOMPARE(m_models.treeModelCalls, 1);
    QVERIFY(ErrorLines().isEmpty());

    // The same walk, called directly.
    ModelProbe probe(m_scene.Root(), m_scene.Context(), nullptr);
    m_models.ResetCalls();
    QCOMPARE(probe.FindValueInModel(m_models.top, {QStringLiteral("0"), QStringLiteral("2")}, QStringLiteral("name")),
             QVariant(QStringLiteral("a2")));
    QCOMPARE(m_models.top->roleCalls, (RoleCalls{{0, kChildRole}}));
    QCOMPARE(m_models.childA->roleNameCalls, (RoleNameCalls{{2, QStringLiteral("name")}}));
}

void TestPluginModels::pathOneZeroAnswersRowZeroNameOfRowOnesChildModel()
{
    // Row 1 keeps its child under the model's own pointer type.
    QCOMPARE(Run(kGetModel, ModelArgs(QStringLiteral("1/0"))), Success(QStringLiteral("b0")));
    QCOMPARE(m_models.top->roleCalls, (RoleCalls{{1, kChildRole}}));
    QCOMPARE(m_models.childB->roleNameCalls, (RoleNameCalls{{0, QStringLiteral("name")}}));
    QVERIFY(LogTexts(2).isEmpty());
}

void TestPluginModels::threeElementPathWalksOneModelPerElement()
{
    QCOMPARE(Run(kGetModel, ModelArgs(QStringLiteral("0/1/2"))), Success(QStringLiteral("g2")));
    QCOMPARE(m_models.top->roleCalls, (RoleCalls{{0, kChildRole}}));
    QCOMPARE(m_models.childA->roleCalls, (RoleCalls{{1, kChildRole}}));
    QCOMPARE(m_models.grandA->roleNameCalls, (RoleNameCalls{{2, QStringLiteral("name")}}));
    QCOMPARE(ModelCalls(), 3);
}

void TestPluginModels::rowPathTextSelectsTheRow_data()
{
    QTest::addColumn<QVariant>("rowPath");
    QTest::addColumn<QString>("expected");
    QTest::newRow("empty text reads row 0 of the top model") << QVariant(QString()) << QStringLiteral("alpha");
    QTest::newRow("absent key reads row 0 of the top model") << QVariant() << QStringLiteral("alpha");
    QTest::newRow("leading slash reads row 3 of row 0's child") << QVariant(QStringLiteral("/3")) << QStringLiteral("a3");
    QTest::newRow("trailing slash reads row 0 of row 2's child") << QVariant(QStringLiteral("2/")) << QStringLiteral("c0");
    QTest::newRow("lone slash reads row 0 of row 0's child") << QVariant(QStringLiteral("/")) << QStringLiteral("a0");
    QTest::newRow("x reads row 0") << QVariant(QStringLiteral("x")) << QStringLiteral("alpha");
    QTest::newRow("x/y reads row 0 of row 0's child") << QVariant(QStringLiteral("x/y")) << QStringLiteral("a0");
    QTest::newRow("leading zero is decimal") << QVariant(QStringLiteral("01")) << QStringLiteral("beta");
    QTest::newRow("plain row") << QVariant(QStringLiteral("3")) << QStringLiteral("delta");
}

void TestPluginModels::rowPathTextSelectsTheRow()
{
    QFETCH(QVariant, rowPath);
    QFETCH(QString, expected);
    QVariantMap args = ModelArgs(QString());
    if (rowPath.isValid())
        args.insert(QStringLiteral("mdlitemrowpth"), rowPath);
    else
        args.remove(QStringLiteral("mdlitemrowpth"));
    QCOMPARE(Run(kGetModel, args), Success(expected));
    QVERIFY(ErrorLines().isEmpty());
}

void TestPluginModels::oneElementPathNeverCallsValueByRole_data()
{
    QTest::addColumn<QString>("rowPath");
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("expected");
    QTest::newRow("row with a child model") << QStringLiteral("0") << 0 << QStringLiteral("alpha");
    QTest::newRow("row 2") << QStringLiteral("2") << 2 << QStringLiteral("gamma");
    QTest::newRow("row without a child model") << QStringLiteral("3") << 3 << QStringLiteral("delta");
    QTest::newRow("empty") << QString() << 0 << QStringLiteral("alpha");
    QTest::newRow("not a number") << QStringLiteral("x") << 0 << QStringLiteral("alpha");
}

void TestPluginModels::oneElementPathNeverCallsValueByRole()
{
    QFETCH(QString, rowPath);
    QFETCH(int, row);
    QFETCH(QString, expected);
    QCOMPARE(Run(kGetModel, ModelArgs(rowPath)), Success(expected));
    for (TestTreeModel *model : m_models.Models())
        QVERIFY2(model->roleCalls.isEmpty(), qPrintable(model->objectName()));
    QCOMPARE(m_models.top->roleNameCalls, (RoleNameCalls{{row, QStringLiteral("name")}}));
    QCOMPARE(ModelCalls(), 1);
}

void TestPluginModels::rowNumbersReachTheModelWithoutRangeCheck()
{
    // What a model answers for a row it does not have is its own business; this one answers
    // an invalid value, which the control reports as a failed read.
    QVariantMap result = Run(kGetModel, ModelArgs(QStringLiteral("99")));
    QCOMPARE(result.value(QStringLiteral("success")), QVariant(false));
    QCOMPARE(m_models.top->roleNameCalls, (RoleNameCalls{{99, QStringLiteral("name")}}));
    QCOMPARE(ErrorLines(), QStringList{QStringLiteral("UIRemoteControl::DoGetModelValue, get model item value failed")});

    m_models.ResetCalls();
    LogRecorder::Clear();
    result = Run(kGetModel, ModelArgs(QStringLiteral("-1/7")));
    QCOMPARE(result.value(QStringLiteral("success")), QVariant(false));
    QCOMPARE(m_models.top->roleCalls, (RoleCalls{{-1, kChildRole}}));
    QCOMPARE(ErrorLines(), (QStringList{QStringLiteral("UIRemoteControl::FindValueInModel, child model is NULL"),
                                        QStringLiteral("UIRemoteControl::DoGetModelValue, get model item value failed")}));
}

void TestPluginModels::missingChildModelLogsChildNullThenItemValueFailed_data()
{
    QTest::addColumn<QString>("rowPath");
    QTest::newRow("top row without child") << QStringLiteral("3/0");
    QTest::newRow("second level row without child") << QStringLiteral("0/0/0");
    QTest::newRow("more elements below the missing child") << QStringLiteral("4/1/2/3");
}

void TestPluginModels::missingChildModelLogsChildNullThenItemValueFailed()
{
    QFETCH(QString, rowPath);
    const QVariantMap result = Run(kGetModel, ModelArgs(rowPath));
    QCOMPARE(result.keys(), (QStringList{QStringLiteral("retValue"), QStringLiteral("success")}));
    QCOMPARE(result.value(QStringLiteral("success")), QVariant(false));
    QVERIFY(!result.value(QStringLiteral("retValue")).isValid());
    QCOMPARE(ErrorLines(), (QStringList{QStringLiteral("UIRemoteControl::FindValueInModel, child model is NULL"),
                                        QStringLiteral("UIRemoteControl::DoGetModelValue, get model item value failed")}));
    // The search stops at the missing child: no value is read anywhere.
    for (TestTreeModel *model : m_models.Models())
        QVERIFY(model->roleNameCalls.isEmpty());
}

void TestPluginModels::validButFalseOrEmptyValueIsSuccess_data()
{
    QTest::addColumn<QString>("roleName");
    QTest::addColumn<QVariant>("expected");
    QTest::newRow("false") << QStringLiteral("flag") << QVariant(false);
    QTest::newRow("empty string") << QStringLiteral("text") << QVariant(QString(QLatin1String("")));
    QTest::newRow("zero") << QStringLiteral("zero") << QVariant(0);
}

void TestPluginModels::validButFalseOrEmptyValueIsSuccess()
{
    QFETCH(QString, roleName);
    QFETCH(QVariant, expected);
    const QVariantMap result = Run(kGetModel, ModelArgs(QStringLiteral("4"), roleName));
    QCOMPARE(result.value(QStringLiteral("success")), QVariant(true));
    const QVariant value = result.value(QStringLiteral("retValue"));
    QVERIFY(value.isValid());
    QCOMPARE(value.userType(), expected.userType());
    QCOMPARE(value, expected);
    QVERIFY(ErrorLines().isEmpty());
}

void TestPluginModels::unknownRoleNameFailsWithItemValueFailed()
{
    const QVariantMap result = Run(kGetModel, ModelArgs(QStringLiteral("1/1"), QStringLiteral("colour")));
    QCOMPARE(result.value(QStringLiteral("success")), QVariant(false));
    QCOMPARE(m_models.childB->roleNameCalls, (RoleNameCalls{{1, QStringLiteral("colour")}}));
    QCOMPARE(ErrorLines(), QStringList{QStringLiteral("UIRemoteControl::DoGetModelValue, get model item value failed")});
}

void TestPluginModels::modelControlTracesFollowTheRowPath()
{
    QCOMPARE(Run(kGetModel, ModelArgs(QStringLiteral("1/0"))), Success(QStringLiteral("b0")));
    QCOMPARE(LogTexts(), (QStringList{
                             QStringLiteral("UIRemoteControl::DoGetModelValue, Enter"),
                             QStringLiteral("UIRemoteControl::GetModel, Enter"),
                             QStringLiteral("UIRemoteControl::GetModel, Leave"),
                             QStringLiteral("UIRemoteControl::FindValueInModel, Enter"),
                             QStringLiteral("UIRemoteControl::FindValueInModel, Enter"),
                             QStringLiteral("UIRemoteControl::FindValueInModel, Leave"),
                             QStringLiteral("UIRemoteControl::FindValueInModel, Leave"),
                             QStringLiteral("UIRemoteControl::DoGetModelValue, Leave"),
                         }));
    QCOMPARE(LogTexts(5).size(), 8);
}

void TestPluginModels::getModelReturnsWhatThePluginMethodReturns()
{
    ModelProbe probe(m_scene.Root(), m_scene.Context(), nullptr);
    LogRecorder::Clear();
    QCOMPARE(probe.GetModel(QStringLiteral("ModelPlugin"), QStringLiteral("treeModel")), static_cast<QObject *>(m_models.top));
    QCOMPARE(m_models.treeModelCalls, 1);
    QCOMPARE(LogTexts(5), (QStringList{QStringLiteral("UIRemoteControl::GetModel, Enter"),
                                       QStringLiteral("UIRemoteControl::GetModel, Leave")}));
    QCOMPARE(LogTexts().size(), 2);
}

void TestPluginModels::pluginMethodReturningNullMakesGetModelReturnNullSilently()
{
    ModelProbe probe(m_scene.Root(), m_scene.Context(), nullptr);
    LogRecorder::Clear();
    QCOMPARE(probe.GetModel(QStringLiteral("ModelPlugin"), QStringLiteral("nullModel")), static_cast<QObject *>(nullptr));
    QCOMPARE(m_models.nullModelCalls, 1);
    QVERIFY(ErrorLines().isEmpty());
    QCOMPARE(LogTexts(), (QStringList{QStringLiteral("UIRemoteControl::GetModel, Enter"),
                                      QStringLiteral("UIRemoteControl::GetModel, Leave")}));
}

void TestPluginModels::pluginMethodReturningNullFailsWithGetModelFailedOnly()
{
    const QVariantMap result = Run(kGetModel, ModelArgs(QStringLiteral("0"), QStringLiteral("name"), QStringLiteral("nullModel")));
    QCOMPARE(result.value(QStringLiteral("success")), QVariant(false));
    QVERIFY(!result.value(QStringLiteral("retValue")).isValid());
    QCOMPARE(m_models.nullModelCalls, 1);
    QCOMPARE(ErrorLines(), QStringList{QStringLiteral("UIRemoteControl::DoGetModelValue, get model failed")});
    QVERIFY(!LogTexts().contains(QStringLiteral("UIRemoteControl::FindValueInModel, Enter")));
}

void TestPluginModels::unknownPluginLogsCanNotFindThenGetModelFailed()
{
    const QVariantMap result =
        Run(kGetModel, ModelArgs(QStringLiteral("0"), QStringLiteral("name"), QStringLiteral("treeModel"), QStringLiteral("Nobody")));
    QCOMPARE(result.value(QStringLiteral("success")), QVariant(false));
    QCOMPARE(ErrorLines(), (QStringList{QStringLiteral("UIRemoteControl::GetModel, can not find plugin Nobody"),
                                        QStringLiteral("UIRemoteControl::DoGetModelValue, get model failed")}));
    QVERIFY(!LogTexts().contains(QStringLiteral("UIRemoteControl::FindValueInModel, Enter")));
    QCOMPARE(ModelCalls(), 0);
}

void TestPluginModels::contextPropertyThatIsNoObjectIsNoPlugin()
{
    const QVariantMap result = Run(kGetModel, ModelArgs(QStringLiteral("0"), QStringLiteral("name"), QStringLiteral("treeModel"),
                                                        QStringLiteral("NotAnObject")));
    QCOMPARE(result.value(QStringLiteral("success")), QVariant(false));
    QCOMPARE(ErrorLines(), (QStringList{QStringLiteral("UIRemoteControl::GetModel, can not find plugin NotAnObject"),
                                        QStringLiteral("UIRemoteControl::DoGetModelValue, get model failed")}));
}

void TestPluginModels::methodThatCannotBeInvokedLogsInvokeFailed_data()
{
    QTest::addColumn<QString>("method");
    QTest::newRow("no such method") << QStringLiteral("noSuchMethod");
    QTest::newRow("returns int") << QStringLiteral("rowTotal");
    QTest::newRow("needs an argument") << QStringLiteral("modelFor");
}

void TestPluginModels::methodThatCannotBeInvokedLogsInvokeFailed()
{
    QFETCH(QString, method);
    const QVariantMap result = Run(kGetModel, ModelArgs(QStringLiteral("0"), QStringLiteral("name"), method));
    QCOMPARE(result.value(QStringLiteral("success")), QVariant(false));
    QCOMPARE(ErrorLines(),
             (QStringList{QStringLiteral("UIRemoteControl::GetModel, invoke plugin's method %1 is failed").arg(method),
                          QStringLiteral("UIRemoteControl::DoGetModelValue, get model failed")}));
}

void TestPluginModels::emptyPluginOrMethodNameLogsInvalidMessageValue_data()
{
    QTest::addColumn<QVariantMap>("args");
    QVariantMap noPlugin = ModelArgs(QStringLiteral("0"));
    noPlugin.insert(QStringLiteral("pluginname"), QString());
    QVariantMap noMethod = ModelArgs(QStringLiteral("0"));
    noMethod.insert(QStringLiteral("method"), QString());
    QVariantMap absent = ModelArgs(QStringLiteral("0"));
    absent.remove(QStringLiteral("pluginname"));
    absent.remove(QStringLiteral("method"));
    QTest::newRow("empty plugin name") << noPlugin;
    QTest::newRow("empty method") << noMethod;
    QTest::newRow("both absent") << absent;
}

void TestPluginModels::emptyPluginOrMethodNameLogsInvalidMessageValue()
{
    QFETCH(QVariantMap, args);
    const QVariantMap result = Run(kGetModel, args);
    QCOMPARE(result.value(QStringLiteral("success")), QVariant(false));
    QCOMPARE(ErrorLines(), (QStringList{QStringLiteral("UIRemoteControl::GetModel, invalid message value"),
                                        QStringLiteral("UIRemoteControl::DoGetModelValue, get model failed")}));
    QCOMPARE(m_models.treeModelCalls, 0);

    ModelProbe probe(m_scene.Root(), m_scene.Context(), nullptr);
    LogRecorder::Clear();
    QCOMPARE(probe.GetModel(args.value(QStringLiteral("pluginname")).toString(), args.value(QStringLiteral("method")).toString()),
             static_cast<QObject *>(nullptr));
    QCOMPARE(ErrorLines(), QStringList{QStringLiteral("UIRemoteControl::GetModel, invalid message value")});
}

void TestPluginModels::missingQmlContextLogsQQmlContextIsNull()
{
    // The host hands the plugin no context.
    m_host.DestroyInstance();
    m_plugin = m_host.Start(nullptr, m_scene.Root());
    QVERIFY(m_plugin);
    LogRecorder::Clear();

    const QVariantMap result = Run(kGetModel, ModelArgs(QStringLiteral("1/0")));
    QCOMPARE(result.value(QStringLiteral("success")), QVariant(false));
    QCOMPARE(ErrorLines(), (QStringList{QStringLiteral("UIRemoteControl::GetModel, QQmlContext is NULL"),
                                        QStringLiteral("UIRemoteControl::DoGetModelValue, get model failed")}));
    QCOMPARE(m_models.treeModelCalls, 0);

    LogRecorder::Clear();
    QCOMPARE(Run(kGetGroup, GroupArgs(QStringLiteral("colour"), QStringLiteral("0"))).value(QStringLiteral("success")),
             QVariant(false));
    QCOMPARE(ErrorLines(), (QStringList{QStringLiteral("UIRemoteControl::GetModel, QQmlContext is NULL"),
                                        QStringLiteral("UIRemoteControl::DoGetGroupModelValue, get model failed")}));
}

void TestPluginModels::emptyNamesAreReportedBeforeTheMissingContext()
{
    ModelProbe probe(m_scene.Root(), nullptr, nullptr);
    LogRecorder::Clear();
    QCOMPARE(probe.GetModel(QString(), QStringLiteral("treeModel")), static_cast<QObject *>(nullptr));
    QCOMPARE(ErrorLines(), QStringList{QStringLiteral("UIRemoteControl::GetModel, invalid message value")});
    LogRecorder::Clear();
    QCOMPARE(probe.GetModel(QStringLiteral("ModelPlugin"), QStringLiteral("treeModel")), static_cast<QObject *>(nullptr));
    QCOMPARE(ErrorLines(), QStringList{QStringLiteral("UIRemoteControl::GetModel, QQmlContext is NULL")});
}

void TestPluginModels::emptyRowPathGivesValidFalseAndLogsInvalidMessageValue()
{
    ModelProbe probe(m_scene.Root(), m_scene.Context(), nullptr);
    LogRecorder::Clear();
    const QVariant value = probe.FindValueInModel(m_models.top, QStringList(), QStringLiteral("name"));
    QVERIFY(value.isValid());
    QCOMPARE(value.userType(), int(QMetaType::Bool));
    QCOMPARE(value, QVariant(false));
    QCOMPARE(ErrorLines(), QStringList{QStringLiteral("UIRemoteControl::FindValueInModel, invalid message value")});
    QCOMPARE(LogTexts(), (QStringList{QStringLiteral("UIRemoteControl::FindValueInModel, Enter"),
                                      QStringLiteral("UIRemoteControl::FindValueInModel, invalid message value"),
                                      QStringLiteral("UIRemoteControl::FindValueInModel, Leave")}));
    QCOMPARE(ModelCalls(), 0);
}

void TestPluginModels::nullModelInValueSearchLogsChildModelNull()
{
    ModelProbe probe(m_scene.Root(), m_scene.Context(), nullptr);
    LogRecorder::Clear();
    const QVariant value = probe.FindValueInModel(nullptr, {QStringLiteral("0")}, QStringLiteral("name"));
    QVERIFY(!value.isValid());
    QCOMPARE(ErrorLines(), QStringList{QStringLiteral("UIRemoteControl::FindValueInModel, child model is NULL")});
}

void TestPluginModels::groupValueIsReadFromTheGroupModel()
{
    QCOMPARE(Run(kGetGroup, GroupArgs(QStringLiteral("colour"), QStringLiteral("1"))), Success(QStringLiteral("green")));
    QCOMPARE(m_models.top->groupCalls, (QList<QPair<QString, int>>{{QStringLiteral("colour"), 0}}));
    QCOMPARE(m_models.colours->roleNameCalls, (RoleNameCalls{{1, QStringLiteral("name")}}));
    QVERIFY(m_models.top->roleNameCalls.isEmpty());
    QVERIFY(ErrorLines().isEmpty());
    QCOMPARE(LogTexts().first(), QStringLiteral("UIRemoteControl::DoGetGroupModelValue, Enter"));
    QCOMPARE(LogTexts().last(), QStringLiteral("UIRemoteControl::DoGetGroupModelValue, Leave"));
}

void TestPluginModels::groupUnknownPluginIsReportedBeforeTheGroupName()
{
    // The group name is empty too, but the missing plugin is all that is reported.
    const QVariantMap result = Run(kGetGroup, GroupArgs(QString(), QStringLiteral("0"), QStringLiteral("Nobody")));
    QCOMPARE(result.value(QStringLiteral("success")), QVariant(false));
    QCOMPARE(ErrorLines(), (QStringList{QStringLiteral("UIRemoteControl::GetModel, can not find plugin Nobody"),
                                        QStringLiteral("UIRemoteControl::DoGetGroupModelValue, get model failed")}));
    QVERIFY(!LogTexts().contains(QStringLiteral("UIRemoteControl::DoGetGroupModelValue, invalid message value")));
}

void TestPluginModels::groupEmptyGroupNameFailsWithInvalidMessageValue_data()
{
    QTest::addColumn<bool>("present");
    QTest::newRow("empty grouprolename") << true;
    QTest::newRow("absent grouprolename") << false;
}

void TestPluginModels::groupEmptyGroupNameFailsWithInvalidMessageValue()
{
    QFETCH(bool, present);
    QVariantMap args = GroupArgs(QString(), QStringLiteral("1"));
    if (!present)
        args.remove(QStringLiteral("grouprolename"));
    const QVariantMap result = Run(kGetGroup, args);
    QCOMPARE(result.value(QStringLiteral("success")), QVariant(false));
    QVERIFY(!result.value(QStringLiteral("retValue")).isValid());
    QCOMPARE(ErrorLines(), QStringList{QStringLiteral("UIRemoteControl::DoGetGroupModelValue, invalid message value")});
    // The model was fetched first; no group was asked for and nothing was read.
    QCOMPARE(m_models.treeModelCalls, 1);
    QCOMPARE(ModelCalls(), 0);
}

void TestPluginModels::groupNullGroupModelFailsWithItemValueFailed_data()
{
    QTest::addColumn<QString>("group");
    QTest::newRow("group the model answers with null") << QStringLiteral("nothing");
    QTest::newRow("group the model does not know") << QStringLiteral("unknown");
}

void TestPluginModels::groupNullGroupModelFailsWithItemValueFailed()
{
    QFETCH(QString, group);
    const QVariantMap result = Run(kGetGroup, GroupArgs(group, QStringLiteral("0")));
    QCOMPARE(result.value(QStringLiteral("success")), QVariant(false));
    QVERIFY(!result.value(QStringLiteral("retValue")).isValid());
    QCOMPARE(m_models.top->groupCalls, (QList<QPair<QString, int>>{{group, 0}}));
    const QStringList errors = ErrorLines();
    QVERIFY(!errors.isEmpty());
    QCOMPARE(errors.last(), QStringLiteral("UIRemoteControl::DoGetGroupModelValue, get model item value failed"));
    QCOMPARE(errors.count(QStringLiteral("UIRemoteControl::DoGetGroupModelValue, get model item value failed")), 1);
    QVERIFY(!errors.contains(QStringLiteral("UIRemoteControl::DoGetGroupModelValue, get model failed")));
}

void TestPluginModels::groupMissingChildModelLogsChildNullThenItemValueFailed()
{
    const QVariantMap result = Run(kGetGroup, GroupArgs(QStringLiteral("colour"), QStringLiteral("0/0")));
    QCOMPARE(result.value(QStringLiteral("success")), QVariant(false));
    QCOMPARE(m_models.colours->roleCalls, (RoleCalls{{0, kChildRole}}));
    QCOMPARE(ErrorLines(), (QStringList{QStringLiteral("UIRemoteControl::FindValueInModel, child model is NULL"),
                                        QStringLiteral("UIRemoteControl::DoGetGroupModelValue, get model item value failed")}));
}

void TestPluginModels::groupPluginMethodReturningNullFailsWithGetModelFailed()
{
    const QVariantMap result =
        Run(kGetGroup, GroupArgs(QStringLiteral("colour"), QStringLiteral("0"), QStringLiteral("ModelPlugin"), QStringLiteral("nullModel")));
    QCOMPARE(result.value(QStringLiteral("success")), QVariant(false));
    QCOMPARE(m_models.nullModelCalls, 1);
    QCOMPARE(ErrorLines(), QStringList{QStringLiteral("UIRemoteControl::DoGetGroupModelValue, get model failed")});
}

void TestPluginModels::filterModelValueAlwaysFails_data()
{
    QTest::addColumn<QVariantMap>("args");
    QTest::newRow("no arguments") << QVariantMap();
    QTest::newRow("a readable model value") << ModelArgs(QStringLiteral("1/0"));
    QTest::newRow("a readable group value") << GroupArgs(QStringLiteral("colour"), QStringLiteral("1"));
    QTest::newRow("an unknown plugin") << ModelArgs(QStringLiteral("0"), QStringLiteral("name"), QStringLiteral("treeModel"),
                                                    QStringLiteral("Nobody"));
}

void TestPluginModels::filterModelValueAlwaysFails()
{
    QFETCH(QVariantMap, args);
    const QVariantMap result = Run(kGetFilter, args);
    QCOMPARE(result.keys(), (QStringList{QStringLiteral("retValue"), QStringLiteral("success")}));
    QCOMPARE(result.value(QStringLiteral("success")), QVariant(false));
    QVERIFY(!result.value(QStringLiteral("retValue")).isValid());
    QCOMPARE(LogTexts(), (QStringList{QStringLiteral("UIRemoteControl::DoGetFilterModelValue, Enter"),
                                      QStringLiteral("UIRemoteControl::DoGetFilterModelValue, Leave")}));
    QCOMPARE(LogTexts(5).size(), 2);
    QCOMPARE(m_models.treeModelCalls, 0);
    QCOMPARE(ModelCalls(), 0);
}

void TestPluginModels::modelControlsAnswerOverTheTestingServer()
{
    UIRemoteControl server(m_scene.Root(), m_scene.Context(), TestSupport::FreePort(), m_scene.Window());
    QVERIFY(server.IsListening());
    TestSupport::ReplyClient client;
    client.ConnectTo(server.ServerPort());
    QTRY_VERIFY_WITH_TIMEOUT(client.IsConnected(), 5000);

    const auto ask = [&client](const QString &type, const QVariantMap &args) {
        const int before = client.replies.size();
        client.Send(QJsonDocument(QJsonObject{{type, QJsonObject::fromVariantMap(args)}}).toJson(QJsonDocument::Compact));
        return before;
    };

    int index = ask(kGetModel, ModelArgs(QStringLiteral("1/0")));
    QTRY_COMPARE_WITH_TIMEOUT(client.replies.size(), index + 1, 5000);
    QCOMPARE(client.replies.at(index), (QJsonObject{{QStringLiteral("result"), true}, {QStringLiteral("value"), QStringLiteral("b0")}}));

    index = ask(kGetModel, ModelArgs(QStringLiteral("4"), QStringLiteral("flag")));
    QTRY_COMPARE_WITH_TIMEOUT(client.replies.size(), index + 1, 5000);
    QCOMPARE(client.replies.at(index), (QJsonObject{{QStringLiteral("result"), true}, {QStringLiteral("value"), false}}));

    index = ask(kGetGroup, GroupArgs(QString(), QStringLiteral("1")));
    QTRY_COMPARE_WITH_TIMEOUT(client.replies.size(), index + 1, 5000);
    QCOMPARE(client.replies.at(index), (QJsonObject{{QStringLiteral("result"), false}}));

    index = ask(kGetFilter, ModelArgs(QStringLiteral("1/0")));
    QTRY_COMPARE_WITH_TIMEOUT(client.replies.size(), index + 1, 5000);
    QCOMPARE(client.replies.at(index), (QJsonObject{{QStringLiteral("result"), false}}));
    QCOMPARE(client.malformed, 0);
}

QTEST_MAIN(TestPluginModels)
#include "tst_plugin_models.moc"
