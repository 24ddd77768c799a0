#include "records/VolumeInfo.h"

#include "records/Hash.h"

std::size_t std::hash<VolumeInfo>::operator()(const VolumeInfo &volume) const {
    return Hash::ofAll(volume.url, volume.name, volume.uuid, volume.fsType);
}
