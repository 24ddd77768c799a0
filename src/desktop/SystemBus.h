#pragma once

#include <functional>

class QObject;

/// The system bus, which may be missing or mute. Qt makes its connections on one thread for all buses and waits for the
/// bus there, so it is first asked for an answer without Qt.
namespace SystemBus {

/// Calls `then` on the main thread, where `context` lives, once the system bus answers; then
/// QDBusConnection::systemBus() doesn't wait. Never while there is none or it is mute, nor when `context` has gone.
/// Returns at once.
void whenItAnswers(QObject *context, std::function<void()> then);

} // namespace SystemBus
