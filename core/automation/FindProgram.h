#pragma once

#include <QString>

/// The path of a program: beside this program, else on the user's path; empty when there is none.
QString FindProgram(const QString& name);
