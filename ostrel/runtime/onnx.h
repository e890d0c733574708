// Inference over models in the ONNX format. The runtime is a shared library that is loaded at the
// first use and stays for the life of the process; it may be missing.
//
// A session may be run by any number of threads at once; a run uses the calling thread only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

struct OrtValue;

namespace vantel::ostrel
{

struct OnnxSession;

struct OnnxValueDelete {
    void operator()(OrtValue *value) const;
};

// An input or output of a run.
using OnnxValue = std::unique_ptr<OrtValue, OnnxValueDelete>;

// Result of onnxOpen beside 0 and the error codes of LibraryError: there is no runtime.
constexpr int32_t kOnnxMissing = 1;

// Whether there is a runtime to be loaded.
bool onnxIsThere();

// Opens the model in a file. kRuntimeBroken and kModelBroken are logged with the file's name.
int32_t onnxOpen(const std::string &path, std::shared_ptr<const OnnxSession> *session);

// Names in the model's order, which is the order of values in a run.
const std::vector<std::string> &onnxInputNames(const OnnxSession &session);
const std::vector<std::string> &onnxOutputNames(const OnnxSession &session);

// A tensor over the caller's memory, which must outlive it. Empty when there is no memory.
OnnxValue onnxTensor(std::span<float> data, std::span<const int64_t> shape);
OnnxValue onnxTensor(std::span<int64_t> data, std::span<const int64_t> shape);
OnnxValue onnxTensor(std::span<bool> data, std::span<const int64_t> shape);

// Runs the model for its first outputs, as many as are given; what nobody asks for is not kept.
// Outputs that are empty are made by the run, others are filled. False, with a line in the log,
// when the run fails.
bool onnxRun(const OnnxSession &session, std::span<const OrtValue *const> inputs,
             std::span<OnnxValue> outputs);

// The elements of a tensor of floats; empty for anything else.
std::span<const float> onnxFloats(const OnnxValue &value);

// The dimensions of an input as the model declares them; -1 for those that are free.
std::vector<int64_t> onnxInputShape(const OnnxSession &session, size_t index);

// The dimensions of a tensor; empty for anything else.
std::vector<int64_t> onnxShape(const OnnxValue &value);

} // namespace vantel::ostrel
