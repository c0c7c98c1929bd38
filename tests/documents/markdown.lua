-- The fenced blocks of a Markdown text.
--
-- blocks(text) answers a list of {language, text, line, section, shared}: the line on which the block's text begins,
-- the number of the section that it stands in, as headings divide the text, and whether <!-- shared --> stands ahead
-- of it, which makes what it declares known in the whole document.
return function(text)
  local found, section, shared, block, number = {}, 0, false, nil, 0
  for line in (text .. "\n"):gmatch("([^\n]*)\n") do
    number = number + 1
    local fence = line:match("^```(.*)$")
    if block and fence then
      block.text = table.concat(block, "\n")
      block = nil
    elseif block then
      block[#block + 1] = line
    elseif fence then
      block = { language = fence, line = number + 1, section = section, shared = shared }
      found[#found + 1] = block
      shared = false
    elseif line:find("^#") then
      section = section + 1
    elseif line == "<!-- shared -->" then
      shared = true
    end
  end
  if block then error("a fenced block has no end", 0) end
  return found
end
