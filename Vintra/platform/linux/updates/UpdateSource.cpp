#include "Vintra/platform/linux/updates/UpdateSource.h"

namespace vintra {

UpdateSource UpdateSource::builtIn() {
    UpdateSource source;
    source.feedURL = VINTRA_FEED_URL;
    source.publicKey = VINTRA_UPDATE_KEY;
#ifdef VINTRA_DISTRIBUTION_PACKAGE
    source.isLeftToDistribution = true;
#endif
    return source;
}

} // namespace vintra
