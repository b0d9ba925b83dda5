"""A Qt Quick program in Python with PySide2: python_app.qml in a QQmlApplicationEngine.

Qt Quick arrives after the application: only the QML import of QtQuick loads it.
"""

import sys
from pathlib import Path

from PySide2.QtCore import QTimer, QUrl
from PySide2.QtGui import QGuiApplication
from PySide2.QtQml import QQmlApplicationEngine

app = QGuiApplication(sys.argv)
engine = QQmlApplicationEngine()
engine.load(QUrl.fromLocalFile(str(Path(__file__).with_name("python_app.qml"))))
if not engine.rootObjects():
    sys.exit(1)
QTimer.singleShot(60 * 1000, app.quit)  # should a test leave it running
sys.exit(app.exec_())
