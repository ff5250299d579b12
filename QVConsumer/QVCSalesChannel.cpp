#include "QVConsumer/QVCSalesChannel.h"

#include "QVConsumer/QVCReader.h"

std::shared_ptr<QVCSalesChannel> QVCSalesChannel::initWithResponse(QVCAnswerValue response) {
    return read(QVCReader(response, "sales channel document"));
}

std::shared_ptr<QVCSalesChannel> QVCSalesChannel::initWithResponse(const QVCJSON& response) {
    return QVCReader::read<QVCSalesChannel>(response);
}

std::shared_ptr<QVCSalesChannel> QVCSalesChannel::read(const QVCReader& document) {
    auto channel = std::make_shared<QVCSalesChannel>();
    channel->channelId = document.integer("channelId");
    channel->channelName = document.text("channelName");
    return channel;
}
