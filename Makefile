# SPDX-License-Identifier: Apache-2.0
# Every command installs what it needs itself (Debian packages; root or sudo).

.PHONY: demo test build bench sanitize fuzz docs pictures format format-check
ARGS ?=

demo: ; @scripts/demo $(ARGS)
test: ; @scripts/test $(ARGS)
build: ; @scripts/build $(ARGS)
bench: ; @scripts/bench $(ARGS)
sanitize: ; @scripts/sanitize $(ARGS)
fuzz: ; @scripts/fuzz $(ARGS)
docs: ; @scripts/docs $(ARGS)
pictures: ; @scripts/pictures $(ARGS)
format: ; @scripts/format $(ARGS)
format-check: ; @scripts/format --check
