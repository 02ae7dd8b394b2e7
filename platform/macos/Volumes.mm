#include "platform/Volumes.h"

#include <QString>

#import <Foundation/Foundation.h>

namespace platform {

QStringList mountedVolumes() {
    QStringList paths;
    for (NSURL* volume in [[NSFileManager defaultManager]
             mountedVolumeURLsIncludingResourceValuesForKeys:@[ NSURLVolumeURLForRemountingKey ]
                                                     options:0]) {
        paths.append(QString::fromNSString(volume.path));
    }
    return paths;
}

void letGoOfAbandonedVolumes() {}

} // namespace platform
