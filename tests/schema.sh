#!/usr/bin/env bash
# docs/indexUserConfig.xsd takes what a save writes and refuses what is broken. Usage: schema.sh ROOT
set -euo pipefail
root=$1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
status=0

is_valid() { xmllint --noout --schema "$root/docs/indexUserConfig.xsd" "$1" >"$scratch/out" 2>&1; }

for file in "$root"/examples/user/indexUserConfig.xml "$root"/tests/data/golden/*.xml; do
    is_valid "$file" || { echo "refused: $file"; cat "$scratch/out"; status=1; }
done

while IFS= read -r content; do
    printf '<ICUserConfigFile>%s</ICUserConfigFile>' "$content" >"$scratch/broken.xml"
    ! is_valid "$scratch/broken.xml" || { echo "not refused: $content"; status=1; }
done <<'TABLE'
<investFee/>
<Option/><Option/>
<Option><Settings reportRefreshTime="abc"/></Option>
<Option><Settings reportRefreshTime="2147483648"/></Option>
<Option><Settings showGradient="true"/></Option>
<Option><Settings groupSignalRunTime="09:30"/></Option>
<Option><Other/></Option>
<ConfigVersion version_id="10"/>
<CustomIndex><a/></CustomIndex>
<CustomStock/>
<CustomStock><Customs><Custom/></Customs></CustomStock>
<CustomStock><Customs><Custom type="-1"/></Customs></CustomStock>
<CustomStock><Customs><Custom type="1"/><Custom type="1"/></Customs></CustomStock>
<CustomStock><Customs><Custom type="1"><Stock market="SH" code="1"/></Custom></Customs></CustomStock>
<IndexLayout><LayoutWindow/></IndexLayout>
<IndexLayout><LayoutWindow screen_id="1" is_main="yes" maximized="0" left="0" top="0" width="1" height="1" panelgroup_id="1"/></IndexLayout>
<IndexLayout><LayoutWindow screen_id="1" is_main="0" maximized="0" left="0" top="0" width="1" height="1" panelgroup_id="1"><a/><b/></LayoutWindow></IndexLayout>
<LayoutTemplates><LayoutTemplate/></LayoutTemplates>
<LayoutTemplates><LayoutTemplate name="A"><LayoutWindow/></LayoutTemplate></LayoutTemplates>
<IndexPositionLayout><ValuePanelGroupLayout><itemLayout/></ValuePanelGroupLayout></IndexPositionLayout>
<UserParams m_bFormulaFunctionTreeExpand="yes"/>
TABLE
exit $status
