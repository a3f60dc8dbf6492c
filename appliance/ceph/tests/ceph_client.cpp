// A client of the cluster in a process of its own, for tests that kill it. What it does:
//
//   ceph_client CONF USER CLIENTS add POOL DATABASE COUNT
//       commits COUNT rows, each in a transaction
//   ceph_client CONF USER CLIENTS hold POOL DATABASE
//       adds a row, says "held", commits after a line, says "committed"
//   ceph_client CONF USER CLIENTS write POOL IMAGE
//       writes to the image and says "written", again after each line
//   ceph_client CONF USER CLIENTS sequence POOL IMAGE
//       for each line N, writes N to the sector N of the image and says "written"
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "appliance/ceph/ceph_catalog.h"
#include "appliance/ceph/tests/attached_image.h"

namespace lumora::test {
namespace {

void add(CCephCluster& cluster, const SCatalogPlace& place, int count)
{
    CCephCatalog catalog(cluster, place, CDatabase::EMode::EXISTING);
    for (int i = 0; i < count; ++i) {
        base::CSqliteTransaction transaction(catalog.database(), base::CSqliteTransaction::EKind::WRITE);
        base::CSqliteQuery(catalog.database(), "INSERT INTO rows(name) VALUES(?)", "added").run();
        transaction.commit();
    }
    std::cout << "added" << std::endl;
}

void hold(CCephCluster& cluster, const SCatalogPlace& place)
{
    CCephCatalog catalog(cluster, place, CDatabase::EMode::EXISTING);
    base::CSqliteTransaction transaction(catalog.database(), base::CSqliteTransaction::EKind::WRITE);
    base::CSqliteQuery(catalog.database(), "INSERT INTO rows(name) VALUES(?)", "held").run();
    std::cout << "held" << std::endl;
    std::string line;
    std::getline(std::cin, line);
    transaction.commit();
    std::cout << "committed" << std::endl;
}

void write(CCephCluster& cluster, const std::string& pool, const std::string& image)
{
    const CCephPool images(cluster, pool);
    const CAttachedImage attached(images, image);
    std::string line;
    do {
        const int code = attached.write("written by another process");
        std::cout << (code == 0 ? "written" : "error " + std::to_string(code)) << std::endl;
    } while (std::getline(std::cin, line));
}

void writeSequence(CCephCluster& cluster, const std::string& pool, const std::string& image)
{
    const CCephPool images(cluster, pool);
    const CAttachedImage attached(images, image);
    for (std::string line; std::getline(std::cin, line);) {
        const int code = attached.writeSector(std::stoul(line));
        std::cout << (code == 0 ? "written" : "error " + std::to_string(code)) << std::endl;
    }
}

int run(const std::vector<std::string>& words)
{
    CCephCluster cluster({words[0], words[1], words[2]});
    if (words[3] == "add") {
        add(cluster, {words[4], words[5]}, std::stoi(words[6]));
    } else if (words[3] == "hold") {
        hold(cluster, {words[4], words[5]});
    } else if (words[3] == "sequence") {
        writeSequence(cluster, words[4], words[5]);
    } else {
        write(cluster, words[4], words[5]);
    }
    return 0;
}

}  // namespace

}  // namespace lumora::test

int main(int count, char** words)
{
    try {
        return lumora::test::run({words + 1, words + count});
    } catch (const std::exception& error) {
        std::cout << error.what() << std::endl;
        return 1;
    }
}
