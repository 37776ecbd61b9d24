// Fills a dialog in as a session did, and leaves it to its user.
#pragma once

#include <QStringList>

#include "qgis/WindowHost.h"
#include "session/Session.h"

namespace orlinths {

/// Takes the steps of the session on its first dialog, up to the first press of the main button.
/// An output that exists is taken only where `mayReplace` says so. Gives what could not be done.
QStringList Refill(Dialog& dialog, const Session& session, WindowHost& windows,
                   const std::function<bool(const std::string& path)>& mayReplace);

}  // namespace orlinths
