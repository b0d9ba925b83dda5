#include "HostPlugins.h"

TestTreeModel::TestTreeModel(const QString &name, QObject *parent) : IKRVNTreeModel(parent)
{
    setObjectName(name);
}

void TestTreeModel::AddRow(const QVariantMap &roles, const QVariant &child)
{
    m_rows.append({roles, child});
}

void TestTreeModel::SetGroup(const QString &groupRoleName, IKRVNTreeModel *model)
{
    m_groups.insert(groupRoleName, model);
}

int TestTreeModel::rowCount() const
{
    return m_rows.size();
}

QVariant TestTreeModel::valueByRoleName(int row, const QString &roleName) const
{
    roleNameCalls.append(qMakePair(row, roleName));
    if (row < 0 || row >= m_rows.size())
        return QVariant();
    return m_rows.at(row).roles.value(roleName);
}

QVariant TestTreeModel::valueByRole(int row, int role) const
{
    roleCalls.append(qMakePair(row, role));
    if (row < 0 || row >= m_rows.size() || role != ChildModelRole)
        return QVariant();
    return m_rows.at(row).child;
}

bool TestTreeModel::setValueByRoleName(int, const QString &, const QVariant &)
{
    return false;
}

IKRVNTreeModel *TestTreeModel::groupModel(const QString &groupRoleName, int option)
{
    groupCalls.append(qMakePair(groupRoleName, option));
    return m_groups.value(groupRoleName, nullptr);
}

IKRVNTreeModel *TestTreeModel::parentModel() const
{
    return dynamic_cast<IKRVNTreeModel *>(parent());
}

void TestTreeModel::ResetCalls()
{
    roleNameCalls.clear();
    roleCalls.clear();
    groupCalls.clear();
}

namespace {

QVariantMap Named(const QString &name)
{
    return QVariantMap{{QStringLiteral("name"), name}};
}

QVariant AsObject(QObject *object)
{
    return QVariant::fromValue<QObject *>(object);
}

} // namespace

ModelPlugin::ModelPlugin(QObject *parent) : QObject(parent)
{
    top = new TestTreeModel(QStringLiteral("top"), this);
    childA = new TestTreeModel(QStringLiteral("childA"), top);
    childB = new TestTreeModel(QStringLiteral("childB"), top);
    childC = new TestTreeModel(QStringLiteral("childC"), top);
    grandA = new TestTreeModel(QStringLiteral("grandA"), childA);
    colours = new TestTreeModel(QStringLiteral("colours"), top);

    grandA->AddRow(Named(QStringLiteral("g0")));
    grandA->AddRow(Named(QStringLiteral("g1")));
    grandA->AddRow(Named(QStringLiteral("g2")));

    childA->AddRow(Named(QStringLiteral("a0")));
    childA->AddRow(Named(QStringLiteral("a1")), AsObject(grandA));
    childA->AddRow(Named(QStringLiteral("a2")));
    childA->AddRow(Named(QStringLiteral("a3")));

    childB->AddRow(Named(QStringLiteral("b0")));
    childB->AddRow(Named(QStringLiteral("b1")));

    childC->AddRow(Named(QStringLiteral("c0")));
    childC->AddRow(Named(QStringLiteral("c1")));

    colours->AddRow(Named(QStringLiteral("red")));
    colours->AddRow(Named(QStringLiteral("green")));

    QVariantMap alpha = Named(QStringLiteral("alpha"));
    alpha.insert(QStringLiteral("count"), 10);
    top->AddRow(alpha, AsObject(childA));
    // The host may also store the child under its own pointer type.
    top->AddRow(Named(QStringLiteral("beta")), QVariant::fromValue<TestTreeModel *>(childB));
    top->AddRow(Named(QStringLiteral("gamma")), AsObject(childC));
    top->AddRow(Named(QStringLiteral("delta")));
    QVariantMap falsy = Named(QStringLiteral("falsy"));
    falsy.insert(QStringLiteral("flag"), false);
    falsy.insert(QStringLiteral("text"), QString(QLatin1String("")));
    falsy.insert(QStringLiteral("zero"), 0);
    top->AddRow(falsy);

    top->SetGroup(QStringLiteral("colour"), colours);
    top->SetGroup(QStringLiteral("nothing"), nullptr);
}

QObject *ModelPlugin::treeModel()
{
    ++treeModelCalls;
    return top;
}

QObject *ModelPlugin::nullModel()
{
    ++nullModelCalls;
    return nullptr;
}

QObject *ModelPlugin::modelFor(const QString &name)
{
    return findChild<TestTreeModel *>(name);
}

void ModelPlugin::ResetCalls()
{
    treeModelCalls = 0;
    nullModelCalls = 0;
    for (TestTreeModel *model : Models())
        model->ResetCalls();
}

QList<TestTreeModel *> ModelPlugin::Models() const
{
    return {top, childA, childB, childC, grandA, colours};
}
