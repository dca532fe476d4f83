#pragma once
// `kvxim materials [--json]`: the materials of the material database with their tolerance bands.
#include <ostream>

#include "kvx_db/KVXDataHelper.h"

// Writes every material of the database in use (the default one unless another was opened) to `out`:
// one block per material with its group and bands, or with `json` an array of
// {name, group, bands:[{over, upto, a, b}]}. Returns 0; when the database cannot be read, writes one
// line to `err`, nothing to `out`, and returns 1.
int RunMaterialsCommand(kvx_db::KVXDataHelper& db, bool json, std::ostream& out, std::ostream& err);
