#include <velm/io/opener>

namespace velm::io {

unsigned int LogChannel = 0;

Opener::Opener() = default;
Opener::Opener(const Opener&) = default;
Opener& Opener::operator=(const Opener&) = default;
Opener::~Opener() = default;

bool Opener::IsReady() const { return true; }
bool Opener::CheckReady() { return true; }

}  // namespace velm::io
