#pragma once

#include <QApplication>

#include "Platform/Support/Guard.h"

namespace wevora::testing_host {

/// The program's one application of Qt's, without a display. It lives as long as the process.
/// Threads: the main thread.
inline QApplication& qtApplication() {
  struct Words {
    Words() { qputenv("QT_QPA_PLATFORM", "offscreen"); }
    int count = 1;
    char name[5] = "test";
    char* all[2] = {name, nullptr};
  };
  static platform::NeverDestroyed<Words> words;
  static platform::NeverDestroyed<QApplication> application(words->count, words->all);
  return *application;
}

}  // namespace wevora::testing_host
