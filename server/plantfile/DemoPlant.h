#pragma once

#include <QByteArray>

class Plant;

/// Fills an empty plant with the built-in one: a small mixing station whose signals move and whose items show every
/// type.
void BuildDemoPlant(Plant& plant);

/// The plant file that it is made of.
QByteArray DemoPlantToml();
