// Qt implementation of the Waits seam.
#include "QtWaits.h"

#include <QEventLoop>
#include <QTimer>
#include <thread>

void QtWaits::Sleep(std::chrono::microseconds duration) { std::this_thread::sleep_for(duration); }

void QtWaits::RunEventLoop(std::chrono::milliseconds duration) {
  QEventLoop loop;
  QTimer::singleShot(duration, &loop, &QEventLoop::quit);
  loop.exec();
}
