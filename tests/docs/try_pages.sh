#!/usr/bin/env bash
# Installs a build into a fresh prefix and runs the tutorial and what README.md shows with it.
# Usage: try_pages.sh SOURCE-DIRECTORY BUILD-DIRECTORY CXX-COMPILER PYTHON PYTHON-DIRECTORY
set -euo pipefail
source=$1
build=$2
cxx=$3
python=$4
python_directory=$5

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
prefix=$scratch/prefix
cmake --install "$build" --prefix "$prefix" >/dev/null

# As for a reader who installed below /usr/local: nothing needs to be told where things are.
mkdir "$scratch/bin"
ln -s "$python" "$scratch/bin/python3"
export PATH=$prefix/bin:$scratch/bin:$PATH
export PYTHONPATH=$prefix/$python_directory
export CMAKE_PREFIX_PATH=$prefix
export CXX=$cxx
"$python" "$source/tests/docs/run_document.py" "$source/docs/tutorial.md" "$scratch/tutorial"
"$python" "$source/tests/docs/try_readme.py" "$source/README.md" "$prefix/include/camera_depth_rw" "$scratch/readme"
