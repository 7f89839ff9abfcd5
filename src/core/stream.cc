#include <velm/io/stream>

namespace velm::io {

// The contracts hold no data: the special members exist out of line only so
// that the library exports them and their virtual tables.
Stream::Stream() = default;
Stream::Stream(const Stream&) = default;
Stream& Stream::operator=(const Stream&) = default;
Stream::~Stream() = default;

Input::Input() = default;
Input::Input(const Input&) = default;
Input::Input(Input&&) noexcept = default;
Input& Input::operator=(const Input&) = default;
Input& Input::operator=(Input&&) noexcept = default;
Input::~Input() = default;

Output::Output() = default;
Output::Output(const Output&) = default;
Output::Output(Output&&) noexcept = default;
Output& Output::operator=(const Output&) = default;
Output& Output::operator=(Output&&) noexcept = default;
Output::~Output() = default;

}  // namespace velm::io
