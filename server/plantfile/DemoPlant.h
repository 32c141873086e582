#pragma once

class Plant;

/// Fills an empty plant with the built-in one: a small mixing station whose signals move and whose items show every type.
void BuildDemoPlant(Plant& plant);
