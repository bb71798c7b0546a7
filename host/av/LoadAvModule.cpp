// SPDX-License-Identifier: Apache-2.0
#include "av/LoadAvModule.h"

#include "support/LoadModule.h"

namespace orvel {

const AvModule& LoadAvModule() {
    static const auto get = reinterpret_cast<GetAvModule>(
            LoadModule({"liborvel_flv_av.so", kAvModuleSymbol, "this command needs the codec module",
                        "it is built where libavformat, libavcodec, libavutil and libswscale are at hand"}));
    return *get();
}

}  // namespace orvel
