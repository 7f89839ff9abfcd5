#ifndef VELMIO_CORE_VIEWED_INPUT_H_
#define VELMIO_CORE_VIEWED_INPUT_H_

namespace velm::io {

// A second face of an Input whose data lie whole in memory, found with
// dynamic_cast: a reader may take bytes straight from there, with no copy
// and without the stream's position. Internal; the exported contracts stay
// as they are.
class ViewedInput {
 public:
  // The first byte of the data, GetSize() bytes long, valid while the stream
  // is open; null once it is closed.
  virtual const char* GetView() const = 0;

 protected:
  ViewedInput() = default;
  ViewedInput(const ViewedInput&) = default;
  ViewedInput& operator=(const ViewedInput&) = default;
  ~ViewedInput() = default;
};

}  // namespace velm::io

#endif  // VELMIO_CORE_VIEWED_INPUT_H_
