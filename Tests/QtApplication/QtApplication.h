#pragma once

#include <QApplication>

namespace wevora::testing_host {

/// The program's one application of Qt's, without a display. It lives as long as the process.
/// Threads: the main thread.
QApplication& qtApplication();

}  // namespace wevora::testing_host
