#include "driver/dmmdata.h"

DmmData::DmmData()
    : channels(1)
{
    m_config.activeChannel = 1;
}

Channel* DmmData::channel(int index)
{
    return index >= 0 && index < channels.size() ? &channels[index] : nullptr;
}

Channel const* DmmData::channel(int index) const
{
    return index >= 0 && index < channels.size() ? &channels.at(index) : nullptr;
}

Channel* DmmData::activeChannel()
{
    return channel(m_config.activeChannel - 1);
}

Channel const* DmmData::activeChannel() const
{
    return channel(m_config.activeChannel - 1);
}
