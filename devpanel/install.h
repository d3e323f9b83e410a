#pragma once

/// Makes this Wine prefix look like a server with the panel: directories, utilities, registry values, the
/// service KelvoSQLServer (stopped).
void installPanel();
