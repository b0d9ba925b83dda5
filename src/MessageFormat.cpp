// The control message format: the twenty control words, JSON parsing and serialisation, and
// the reduction of a request to control type, arguments and delay.

#include "UIRemoteControl.h"

#include <QJsonDocument>

const QStringList &ControlTypeWords()
{
    static const QStringList words = {
        QStringLiteral("addjoystick"),   QStringLiteral("click"),
        QStringLiteral("dbclick"),       QStringLiteral("drag"),
        QStringLiteral("drop"),          QStringLiteral("emitpluginsignal"),
        QStringLiteral("getpro"),        QStringLiteral("getfltmdlitemval"),
        QStringLiteral("getgrpmdlitemval"), QStringLiteral("getmdlitemval"),
        QStringLiteral("getwinname"),    QStringLiteral("hover"),
        QStringLiteral("invoke"),        QStringLiteral("invokeret"),
        QStringLiteral("joystickbuttonevent"), QStringLiteral("keyclick"),
        QStringLiteral("movejoystick"),  QStringLiteral("press"),
        QStringLiteral("setpro"),        QStringLiteral("waitsignal"),
    };
    return words;
}

bool ParseJSON(const QString &text, QVariant &result)
{
    if (text.isEmpty())
        return false;
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8());
    if (document.isNull() || document.isEmpty())
        return false;
    result = document.toVariant();
    return true;
}

bool SerializeJSON(const QVariant &value, QString &text)
{
    if (!value.isValid() || value.isNull())
        return false;
    const QJsonDocument document = QJsonDocument::fromVariant(value);
    if (document.isNull() || document.isEmpty())
        return false;
    text = QString::fromUtf8(document.toJson(QJsonDocument::Indented));
    return true;
}

void ExtractParsedMessageInfo(const QVariant &request, ParsedMessageInfo &info)
{
    const QVariantMap map = request.toMap();
    for (auto it = map.constBegin(); it != map.constEnd(); ++it) {
        if (ControlTypeWords().contains(it.key())) {
            info.controlType = it.key();
            info.args = it.value().toMap();
        } else {
            const int delay = it.value().toInt();
            if (delay > 0)
                info.delay = delay;
        }
    }
}
