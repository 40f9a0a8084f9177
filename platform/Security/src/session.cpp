// Process-wide session settings.
#include "session.h"

#include <atomic>

namespace secimpl {

namespace {
std::atomic<bool> gInteraction{true};
std::atomic<int> gDomain{0};
}  // namespace

bool UserInteractionAllowed() { return gInteraction.load(); }
void SetUserInteractionAllowed(bool allowed) { gInteraction.store(allowed); }
int CurrentPreferenceDomain() { return gDomain.load(); }
void SetCurrentPreferenceDomain(int domain) { gDomain.store(domain); }

}  // namespace secimpl
