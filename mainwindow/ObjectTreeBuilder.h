#pragma once

class MainWindow;

/// Creates the engine and the history and fills the main window's tree with the server's objects. Throws what the
/// server throws; the tree then keeps what has been added so far.
void BuildObjectTree(MainWindow& mainWindow);
