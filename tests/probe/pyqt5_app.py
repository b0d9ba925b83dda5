"""A Qt Quick program in Python with PyQt5: python_app.qml in a QQmlApplicationEngine.

Qt Quick arrives before the application: the program imports PyQt5.QtQuick first.
"""

import sys
from pathlib import Path

from PyQt5.QtCore import QTimer, QUrl
from PyQt5.QtGui import QGuiApplication
from PyQt5.QtQml import QQmlApplicationEngine
from PyQt5.QtQuick import QQuickWindow  # noqa: F401  (loads Qt Quick now)

app = QGuiApplication(sys.argv)
engine = QQmlApplicationEngine()
engine.load(QUrl.fromLocalFile(str(Path(__file__).with_name("python_app.qml"))))
if not engine.rootObjects():
    sys.exit(1)
QTimer.singleShot(60 * 1000, app.quit)  # should a test leave it running
sys.exit(app.exec_())
