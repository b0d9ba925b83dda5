// The signal wait: "waitsignal".

#include "UIRemoteControl.h"

#include "ControlEngine.h"

#include "TraceLog.h"

#include <QQmlContext>
#include <QSignalSpy>

bool UIRemoteControl::DoWaitSignal(const ArgumentMap &args)
{
    RC_FIXED_TRACE_SCOPE("UIRemoteControl::DoWaitSignal");
    const QString signal = args.value(QStringLiteral("signal")).toString();
    // A negative limit would leave the spy's event loop without a timer: a wait without end.
    const int timeout = qMax(0, args.value(QStringLiteral("timeout")).toInt());
    QObject *object = FindNamedQMLObject(args);
    if (!object && m_context) {
        const QString name = args.value(QStringLiteral("objname")).toString();
        if (!name.isEmpty())
            object = qvariant_cast<QObject *>(m_context->contextProperty(name));
        if (object)
            m_engine->ClearFailureReason(); // found after all, as a context property
    }
    if (!object)
        return false;
    // "2" marks a signal, as the SIGNAL() macro writes it.
    const QString transSignalName = QStringLiteral("2%1").arg(signal);
    const QByteArray signature = transSignalName.toLatin1();
    QSignalSpy spy(object, qFlagLocation(signature.constData()));
    RC_FIXED_LOG(TraceLog::Trace, "%s, transSignalName = [%s]", "UIRemoteControl::DoWaitSignal",
           transSignalName.toLocal8Bit().constData());
    if (!spy.isValid()) {
        RC_FIXED_ERROR("%s, the signal is not valid %s", "UIRemoteControl::DoWaitSignal",
                 transSignalName.toLocal8Bit().constData());
        m_engine->SetFailureReason(QStringLiteral("%1 has no signal '%2'").arg(ArgumentsPath(args), signal));
        return false;
    }
    if (spy.wait(timeout))
        return true;
    m_engine->SetFailureReason(QStringLiteral("no %1 from %2 within %3 ms").arg(signal, ArgumentsPath(args)).arg(timeout));
    return false;
}

