#pragma once

/// Installs the stand-in for the panel: directories, utilities, registry values and the service KelvoSQLServer, which
/// is not started. @throws vexception
void installPanel();
