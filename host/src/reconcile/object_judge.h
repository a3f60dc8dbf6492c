#pragma once

#include <string>

#include "host/src/reconcile/comparison.h"

namespace fictl {

/// Gives the objects of appliances, the disks that show them, and records their classes.
class CObjectJudge
{
  public:
    CObjectJudge(const SComparison& comparison, const CUnderWay& underWay, const CHistoryProof& proof,
                 SReconciliation& found)
        : m_comparison(comparison), m_underWay(underWay), m_proof(proof), m_found(found)
    {
    }

    void run();

  private:
    void judgeGroup(const GroupKey& group, const SInspectedGroup& seen);
    void judgeCheckpoint(const GroupKey& group, const std::string& name, const std::string& time);
    void judgeImage(const GroupKey& group, const SInspectedImage& image);
    void judgeCopies(const SFoundObject& image, const SInspectedImage& seen);
    void judgeRecord(const SSnapshot& record);
    void judgeGroupOf(const SSnapshot& record, const GroupKey& group, SFoundObject& object, size_t& there,
                      size_t& unknown) const;
    void judgeClaimedCopies(const SSnapshot& record);
    bool isUnderWay(SFoundObject& object, const char* kind) const;
    bool isOfRecord(SFoundObject& object) const;
    bool isImageOfRecord(SFoundObject& object, const SInspectedImage& image) const;
    void judgeByHistory(SFoundObject& object, const char* kind) const;

    const SComparison& m_comparison;
    const CUnderWay& m_underWay;
    const CHistoryProof& m_proof;
    SReconciliation& m_found;
};

}  // namespace fictl
