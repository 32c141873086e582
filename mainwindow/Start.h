#pragma once

#include <memory>

class frmMDI;
class VelSQLLib;

/// Starts the console on a server's library: loads the main window and shows it. Null when there is no engine to be had: the operator
/// was told, and the program is to end. The library must outlive the window.
std::unique_ptr<frmMDI> StartConsole(VelSQLLib& library);
