#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/**
 * What this host knows of a provider's names, all in one place.
 *
 *     node prefix     "<" provider ">"
 *     node            prefix + serial of the LUN
 *     checkpoint      "KSV_Check_Point_" + id of the process that made the snapshot
 *     time image      "KSV_Time_Image_"  + the same suffix; the suffix is what stands behind the first 15 characters
 *     target device   prefix + "<DeviceID>" serial "<DeviceID/>" + "<Annotation>" checkpoint "<Annotation/>"
 *
 * A provider hands the target-device name out only when a checkpoint is made. Knowing its form lets the host dispose of
 * what a snapshot may have left behind when the process that made it was killed before it could write the names down.
 */
namespace fictl::naming {

/// Prefix of every node and target-device name of a provider.
std::string nodePrefix(std::string_view provider);
/// Serial of a node name; empty when the name is not one of the provider's.
std::string serialOfNode(std::string_view provider, std::string_view node);
/// What every checkpoint's name begins with.
std::string_view checkpointPrefix();
/// Name of the checkpoint that the process makes.
std::string checkpointOfProcess(int64_t pid);
/// True for "KSV_Check_Point_" and 1 to 20 digits.
bool isCheckpointName(std::string_view text);
/// Name of the time image that belongs to a checkpoint; empty for a text that is no checkpoint's name.
std::string imageOfCheckpoint(std::string_view checkpoint);
/// A name that a provider takes for that of the checkpoint's time image, and that no image has; empty likewise.
std::string absentImageOfCheckpoint(std::string_view checkpoint);
bool isAbsentImageName(std::string_view text);
std::string targetDevice(std::string_view provider, std::string_view serial, std::string_view checkpoint);
/// What stands around the parts of a target-device name, so that no part can hold it.
std::vector<std::string> targetTags();
/// Checkpoint that a target-device name carries; empty when it carries none.
std::string checkpointOfTarget(std::string_view target);

}  // namespace fictl::naming
