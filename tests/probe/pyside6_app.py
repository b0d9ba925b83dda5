"""A Qt Quick program in Python with PySide6: python_app.qml in a QQmlApplicationEngine."""

import sys
from pathlib import Path

from PySide6.QtCore import QTimer, QUrl
from PySide6.QtGui import QGuiApplication
from PySide6.QtQml import QQmlApplicationEngine

app = QGuiApplication(sys.argv)
engine = QQmlApplicationEngine()
engine.load(QUrl.fromLocalFile(str(Path(__file__).with_name("python_app.qml"))))
if not engine.rootObjects():
    sys.exit(1)
QTimer.singleShot(60 * 1000, app.quit)  # should a test leave it running
sys.exit(app.exec())
