#include "core/MainWindow.h"

MainWindow::~MainWindow() = default;
