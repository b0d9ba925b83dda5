// The extension word "screenshot": a window as rendered now, as base64 PNG, optionally cropped
// to one item.

#include "ControlEngine.h"

#include "SceneTree.h"

#include <QBuffer>
#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickWindow>

#include <cmath>

bool ControlEngine::DoScreenshot(const ArgumentMap &args, QVariant &value)
{
    const QString winName = args.value(QStringLiteral("winobjname")).toString();
    QQuickWindow *window = nullptr;
    if (!winName.isEmpty()) {
        for (QWindow *candidate : QGuiApplication::topLevelWindows()) {
            if (candidate->objectName() == winName && (window = qobject_cast<QQuickWindow *>(candidate)))
                break;
        }
        if (!window) {
            SetFailureReason(QStringLiteral("window '%1' not found").arg(winName));
            return false;
        }
    } else {
        window = qobject_cast<QQuickWindow *>(m_window.data());
        if (!window)
            window = SceneTree::WindowOfRoot(m_root);
        if (!window) {
            SetFailureReason(QStringLiteral("no window to take a screenshot of"));
            return false;
        }
    }
    if (!window->isVisible()) {
        SetFailureReason(QStringLiteral("window '%1' is not visible").arg(window->objectName()));
        return false;
    }
    QRect crop;
    if (NamesObject(args)) {
        QObject *object = FindNamedQMLObject(args);
        if (!object)
            return false;
        auto *item = qobject_cast<QQuickItem *>(object);
        if (!item || item->window() != window) {
            SetFailureReason(QStringLiteral("%1 is not an item of window '%2'").arg(ArgumentsPath(args), window->objectName()));
            return false;
        }
        const qreal ratio = window->effectiveDevicePixelRatio();
        const QRectF scene = item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
        // Cut to the window before it is made whole pixels: an item far away has coordinates no
        // integer holds.
        const QRectF shown = QRectF(scene.topLeft() * ratio, scene.size() * ratio) &
                             QRectF(0, 0, window->width() * ratio, window->height() * ratio);
        const bool finite = std::isfinite(scene.x()) && std::isfinite(scene.y()) && std::isfinite(scene.width()) &&
                            std::isfinite(scene.height());
        if (!finite || shown.isEmpty()) {
            SetFailureReason(QStringLiteral("%1 is outside the window").arg(ArgumentsPath(args)));
            return false;
        }
        crop = shown.toAlignedRect();
    }
    QImage image = SceneTree::Grab(window);
    if (image.isNull()) {
        SetFailureReason(QStringLiteral("window '%1' could not be grabbed").arg(window->objectName()));
        return false;
    }
    if (!crop.isNull()) {
        crop &= image.rect();
        if (crop.isEmpty()) {
            SetFailureReason(QStringLiteral("%1 is outside the window").arg(ArgumentsPath(args)));
            return false;
        }
        image = image.copy(crop);
    }
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    if (!image.save(&buffer, "PNG")) {
        SetFailureReason(QStringLiteral("the image could not be encoded"));
        return false;
    }
    value = QString::fromLatin1(png.toBase64());
    return true;
}
