// 24-bit analog input, with streaming (AI24BitStreamingModule) and without (AI24BitModule). The rules of ai.h apply.
#pragma once

#include "modules/analog/ai.h"

namespace qvx {

// Two's complement values over the converter's whole range. A sample is a list of volts, one for each of
// `ai_num_channels` channels, not rounded.
class AI24BitStreamingOperations : public AIBased {
 public:
  AI24BitStreamingOperations(Link link, const AIConfiguration& configuration);
  ~AI24BitStreamingOperations() override;

 protected:
  void decode(ByteView raw, std::span<double> volts) const override;
};

// Offset binary values with a range of their own, read on demand only.
class AI24BitOperations : public AIUnion {
 public:
  AI24BitOperations(Link link, const AIConfiguration& configuration) : AIUnion(link, configuration) {}

  // Volts of each channel, rounded to three decimals.
  std::vector<double> AI_readOnDemand(const Argument& port, const Argument& timeout);
};

using AI24BitStreamingModule = BlockingFace<AI24BitStreamingOperations>;
using AI24BitStreamingModule_async = CoroutineFace<AI24BitStreamingOperations>;
using AI24BitModule = BlockingFace<AI24BitOperations>;
using AI24BitModule_async = CoroutineFace<AI24BitOperations>;

}  // namespace qvx
