#pragma once

#include <QApplication>

namespace wevora::testing_host {

/// The process's QApplication, on the offscreen platform. It is never destroyed.
/// Thread-safety: main thread only.
QApplication& qtApplication();

}  // namespace wevora::testing_host
