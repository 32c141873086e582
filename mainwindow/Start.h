#pragma once

#include <memory>

class frmMDI;
struct ConsoleServices;

/// Starts the console with the given services: loads and shows the main window. Null when there is no engine: the
/// operator has been told, and the program must end. The services must outlive the window.
std::unique_ptr<frmMDI> StartConsole(ConsoleServices& services);
