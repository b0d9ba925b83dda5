// Property access and method calls in extension mode: attached ("ToolTip.visible") and dotted
// ("contentItem.contentX") properties, object values as {"type", "path"}, methods with typed
// parameters, and a reason for every failure.

#include "ControlEngine.h"
#include "QtCompat.h"

#include "TraceLog.h"

#include <QJSEngine>
#include <QJSValue>
#include <QMetaMethod>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQmlExpression>
#include <QQmlProperty>
#include <QUrl>

#include <cmath>

namespace {

// The property of object named by a plain, attached or dotted name. QQmlProperty resolves
// attached properties through the object's QML context; a dotted path through object-valued
// properties that it does not resolve is followed one object at a time.
QQmlProperty Resolve(QObject *object, const QString &name, QQmlContext *fallback)
{
    QQmlContext *context = qmlContext(object) ? qmlContext(object) : fallback;
    QQmlProperty property(object, name, context);
    const int dot = name.indexOf(QLatin1Char('.'));
    if (property.isValid() || dot < 0)
        return property;
    const QQmlProperty head(object, name.left(dot), context);
    QObject *next = head.isValid() ? qvariant_cast<QObject *>(head.read()) : nullptr;
    return next ? Resolve(next, name.mid(dot + 1), fallback) : property;
}

// The JSON argument as a value of the parameter's type, when it converts.
bool ConvertArgument(const QVariant &argument, int type, QVariant &converted)
{
    if (type == QMetaType::QVariant) {
        converted = argument;
        return true;
    }
    const int given = argument.userType();
    const bool number = given == QMetaType::Double || given == QMetaType::Int || given == QMetaType::LongLong;
    if (type == QMetaType::QString && given != QMetaType::QString)
        return false; // a number is no string
    if (type == QMetaType::Bool && given != QMetaType::Bool)
        return false; // nor a number or string a truth value
    const bool numeric = type == QMetaType::Int || type == QMetaType::UInt || type == QMetaType::LongLong ||
                         type == QMetaType::ULongLong || type == QMetaType::Double || type == QMetaType::Float;
    if (numeric && !number)
        return false;
    if ((type == QMetaType::Int || type == QMetaType::UInt || type == QMetaType::LongLong) &&
        argument.toDouble() != std::floor(argument.toDouble()))
        return false; // 1.5 is no integer
    converted = argument;
    return QtCompat::Convert(converted, type);
}

QString Signature(const QMetaMethod &method) { return QString::fromLatin1(method.methodSignature()); }

// The scheme of the URL that writing value into a url-typed property of object would load from:
// a relative URL is resolved the way QML resolves it, against the object's context. Empty for
// an empty URL, which loads nothing.
QString LoadScheme(QObject *object, const QVariant &value, QQmlContext *fallback)
{
    QUrl url = value.userType() == QMetaType::QUrl ? value.toUrl() : QUrl(value.toString());
    if (url.isEmpty())
        return QString();
    QQmlContext *context = qmlContext(object) ? qmlContext(object) : fallback;
    if (url.isRelative() && context)
        url = context->resolvedUrl(url);
    return url.scheme().toLower();
}

} // namespace

bool ControlEngine::ReadPropertyExtended(QObject *object, const ArgumentMap &args, QVariant &value)
{
    const QString name = args.value(QStringLiteral("property")).toString();
    if (name.isEmpty()) {
        SetFailureReason(QStringLiteral("no property given"));
        return false;
    }
    const QQmlProperty property = Resolve(object, name, m_context);
    if (!property.isValid()) {
        SetFailureReason(QStringLiteral("%1 has no property '%2'").arg(ArgumentsPath(args), name));
        return false;
    }
    const QVariant read = property.read();
    if (!CheckNesting(read, "UIRemoteControl::DoGetProperty"))
        return false;
    value = ReplyValue(read);
    return true;
}

bool ControlEngine::WritePropertyExtended(QObject *object, const ArgumentMap &args)
{
    const QString name = args.value(QStringLiteral("property")).toString();
    if (name.isEmpty()) {
        SetFailureReason(QStringLiteral("no property given"));
        return false;
    }
    QQmlProperty property = Resolve(object, name, m_context);
    if (!property.isValid()) {
        SetFailureReason(QStringLiteral("%1 has no property '%2'").arg(ArgumentsPath(args), name));
        return false;
    }
    if (!property.isWritable()) {
        SetFailureReason(QStringLiteral("property '%1' of %2 is read-only").arg(name, ArgumentsPath(args)));
        return false;
    }
    // A Loader's or an Image's source set to a URL of the client's choosing would make the
    // application fetch, and for QML run, whatever that place serves. Only its own files and
    // resources are accepted, unless UIREMOTE_ALLOW_REMOTE_URLS=1.
    if (property.propertyType() == QMetaType::QUrl && qEnvironmentVariableIntValue("UIREMOTE_ALLOW_REMOTE_URLS") != 1) {
        const QString scheme = LoadScheme(property.object(), args.value(QStringLiteral("propval")), m_context);
        if (!scheme.isEmpty() && scheme != QLatin1String("file") && scheme != QLatin1String("qrc")) {
            RC_ERROR("%s, url scheme refused: %s", "UIRemoteControl::DoSetProperty", qPrintable(scheme));
            SetFailureReason(QStringLiteral("property '%1' of %2 takes only file: and qrc: URLs, not %3: "
                                            "(UIREMOTE_ALLOW_REMOTE_URLS=1 allows any)")
                                 .arg(name, ArgumentsPath(args), scheme));
            return false;
        }
    }
    if (!property.write(args.value(QStringLiteral("propval")))) {
        SetFailureReason(QStringLiteral("property '%1' of %2 (%3) cannot take that value")
                             .arg(name, ArgumentsPath(args), QString::fromLatin1(property.propertyTypeName())));
        return false;
    }
    return true;
}

// Scripted methods read the QML context of their caller: Loader.setSource and StackView.push
// resolve URLs against it, Component.createObject creates in it. They are called from a function
// made in the object's own QML context (else the root context), as the object's own bindings
// would call them; without any QML context they are refused, since Qt would use a null one.
bool ControlEngine::CallScripted(QObject *object, const QMetaMethod &method, const QVariantList &arguments,
                                 QVariant *value) const
{
    QQmlContext *context = qmlContext(object) ? qmlContext(object) : m_context;
    QQmlEngine *engine = context ? context->engine() : nullptr;
    if (!engine || !context->isValid()) {
        SetFailureReason(QStringLiteral("%1 can be called only on an object with a QML context").arg(Signature(method)));
        return false;
    }
    QQmlExpression maker(context, object, QStringLiteral("(function(o, n, a) { return o[n].apply(o, a); })"));
    const QVariant made = maker.evaluate();
    if (maker.hasError() || made.userType() != qMetaTypeId<QJSValue>() || !made.value<QJSValue>().isCallable()) {
        SetFailureReason(QStringLiteral("%1 could not be called").arg(Signature(method)));
        return false;
    }
    const QJSValue result = made.value<QJSValue>().call(
        {engine->toScriptValue(object), QString::fromLatin1(method.name()), engine->toScriptValue(arguments)});
    if (result.isError()) {
        SetFailureReason(QStringLiteral("%1 failed: %2").arg(Signature(method), result.toString()));
        return false;
    }
    if (value) {
        // Converted only when not too deep to convert.
        if (!CheckNesting(QVariant::fromValue(result), "UIRemoteControl::DoInvokeRetMethod"))
            return false;
        *value = result.toVariant();
    }
    return true;
}

bool ControlEngine::InvokeTyped(QObject *object, const ArgumentMap &args, QVariant *value) const
{
    const QByteArray name = args.value(QStringLiteral("method")).toString().toUtf8();
    const QVariantList arguments = args.value(QStringLiteral("mthargs")).toList();
    const QMetaObject *meta = object->metaObject();
    QList<QMetaMethod> named;
    for (int i = 0; i < meta->methodCount(); ++i) {
        const QMetaMethod method = meta->method(i);
        if (method.name() == name && method.access() != QMetaMethod::Private)
            named.append(method);
    }
    if (named.isEmpty()) {
        SetFailureReason(QStringLiteral("%1 has no method '%2'").arg(ArgumentsPath(args), QString::fromUtf8(name)));
        return false;
    }
    if (arguments.size() > 10) {
        SetFailureReason(QStringLiteral("at most 10 arguments can be passed"));
        return false;
    }
    // Scripted methods (StackView.push, pop) take their arguments as one script call.
    for (const QMetaMethod &method : named) {
        if (method.parameterCount() == 1 && method.parameterTypes().constFirst() == "QQmlV4Function*")
            return CallScripted(object, method, arguments, value);
    }
    const QMetaMethod *sameCount = nullptr;
    for (const QMetaMethod &method : named) {
        if (method.parameterCount() != arguments.size())
            continue;
        sameCount = &method;
        QVariant converted[10];
        QGenericArgument generic[10];
        bool convertible = true;
        for (int i = 0; i < arguments.size() && convertible; ++i) {
            convertible = ConvertArgument(arguments.at(i), method.parameterType(i), converted[i]);
            generic[i] = QGenericArgument(method.parameterTypes().at(i).constData(),
                                          method.parameterType(i) == QMetaType::QVariant ? &converted[i] : converted[i].data());
        }
        if (!convertible)
            continue;
        const int returnType = method.returnType();
        QVariant returned;
        if (returnType != QMetaType::Void && returnType != QMetaType::QVariant)
            returned = QtCompat::BlankValue(returnType);
        QGenericReturnArgument ret;
        if (returnType == QMetaType::QVariant)
            ret = QGenericReturnArgument("QVariant", &returned);
        else if (returnType != QMetaType::Void && returnType != QMetaType::UnknownType)
            ret = QGenericReturnArgument(method.typeName(), returned.data());
        if (!method.invoke(object, Qt::DirectConnection, ret, generic[0], generic[1], generic[2], generic[3], generic[4],
                           generic[5], generic[6], generic[7], generic[8], generic[9])) {
            SetFailureReason(QStringLiteral("%1 could not be called").arg(Signature(method)));
            return false;
        }
        if (value) {
            if (!CheckNesting(returned, "UIRemoteControl::DoInvokeRetMethod"))
                return false;
            *value = returned;
        }
        return true;
    }
    if (sameCount) {
        SetFailureReason(QStringLiteral("method %1 does not take these arguments").arg(Signature(*sameCount)));
    } else {
        const int count = named.constFirst().parameterCount();
        SetFailureReason(QStringLiteral("method %1 needs %2 argument%3")
                             .arg(Signature(named.constFirst()))
                             .arg(count)
                             .arg(count == 1 ? QString() : QStringLiteral("s")));
    }
    return false;
}
