#pragma once

#include <memory>

class frmMDI;
struct ConsoleServices;

/// Starts the console on what it works with: loads the main window and shows it. Null when there is no engine: the
/// operator was told, and the program is to end. The services must outlive the window.
std::unique_ptr<frmMDI> StartConsole(ConsoleServices& services);
