#pragma once

#include <QString>

/// The path of a program, looked for beside this program and then on the user's path; empty when it is not found.
QString FindProgram(const QString& name);
