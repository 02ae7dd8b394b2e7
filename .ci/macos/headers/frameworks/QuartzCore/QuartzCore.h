#pragma once
// developer.apple.com/documentation/quartzcore/catransaction: macOS 10.5.
#import <Foundation/Foundation.h>

@interface CATransaction : NSObject
+ (void)begin;
+ (void)commit;
+ (void)flush;
@end
