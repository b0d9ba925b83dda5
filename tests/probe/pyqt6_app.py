"""A Qt Quick program in Python with PyQt6: python_app.qml in a QQmlApplicationEngine."""

import sys
from pathlib import Path

from PyQt6.QtCore import QTimer, QUrl
from PyQt6.QtGui import QGuiApplication
from PyQt6.QtQml import QQmlApplicationEngine

app = QGuiApplication(sys.argv)
engine = QQmlApplicationEngine()
engine.load(QUrl.fromLocalFile(str(Path(__file__).with_name("python_app.qml"))))
if not engine.rootObjects():
    sys.exit(1)
QTimer.singleShot(60 * 1000, app.quit)  # should a test leave it running
sys.exit(app.exec())
