-- What neovim_test does in the editor, with the descriptor file in the current buffer.
local patience = 30000

local function fail(message)
  io.stdout:write(message .. "\n")
  vim.cmd("cquit 1")
end

local function expect(what, is_so)
  if not vim.wait(patience, is_so, 20) then
    fail("not so: " .. what .. "\nlines: " .. vim.inspect(vim.api.nvim_buf_get_lines(0, 0, -1, true)) ..
      "\ndiagnostics: " .. vim.inspect(vim.diagnostic.get(0)))
  end
end

local function line(number)
  return vim.api.nvim_buf_get_lines(0, number - 1, number, false)[1]
end

local function codes()
  local found = {}
  for _, diagnostic in ipairs(vim.diagnostic.get(0)) do
    table.insert(found, diagnostic.code or diagnostic.user_data.lsp.code)
  end
  return table.concat(found, " ")
end

local function check()
  expect("the server is attached", function() return #vim.lsp.buf_get_clients(0) == 1 end)
  expect("Tab inserts a tab", function() return not vim.bo.expandtab end)

  -- A mistake in the buffer alone.
  vim.api.nvim_buf_set_lines(0, 1, 2, false, { "site\tx.a" })
  expect("the mistake is shown", function() return codes() == "feature-without-group-suffix" end)
  local diagnostic = vim.diagnostic.get(0)[1]
  expect("it is shown in its place", function()
    return diagnostic.lnum == 1 and diagnostic.col == 5 and diagnostic.end_col == 8
  end)

  local hover = vim.lsp.buf_request_sync(0, "textDocument/hover", vim.lsp.util.make_position_params(), patience)
  expect("hover tells about the header", function() return vim.inspect(hover):find("### Header", 1, true) end)

  -- The fix, as a user chooses it.
  vim.ui.select = function(items, _, choose) choose(items[1], 1) end
  vim.api.nvim_win_set_cursor(0, { 2, 6 })
  vim.lsp.buf.code_action()
  expect("the fix is applied", function() return line(2) == "site\tx.a.feature.group" end)
  expect("nothing is left to show", function() return codes() == "" end)

  -- All safe fixes.
  vim.api.nvim_buf_set_lines(0, 1, 2, false, { "site \tx.a", " \t\t" })
  expect("the mistakes are shown", function() return #vim.diagnostic.get(0) >= 3 end)
  local context = { only = { "source.fixAll" } }
  vim.lsp.buf.code_action(vim.fn.has("nvim-0.8") == 1 and { context = context } or context)
  expect("all fixes are applied", function() return line(2) == "site\tx.a.feature.group" and not line(3) end)
  expect("nothing is left to show", function() return codes() == "" end)

  -- The columns, as a user completes them.
  vim.o.completeopt = "menu"
  vim.api.nvim_buf_set_lines(0, 2, 3, false, { "si" })
  vim.api.nvim_win_set_cursor(0, { 3, 1 })
  local keys = vim.api.nvim_replace_termcodes("A<C-x><C-o>", true, true, true)
  vim.api.nvim_feedkeys(keys, "n", false)
end

local done, message = pcall(check)
if not done then fail(message) end

-- Keys are taken when this script has ended.
vim.defer_fn(function()
  local function finish(result)
    io.stdout:write("\n" .. result .. "\n")
    vim.cmd(result == "all done" and "qall!" or "cquit 1")
  end
  local tries = 0
  local function look()
    tries = tries + 1
    if line(3) == "site" then return finish("all done") end
    if tries > 300 then return finish("not completed: " .. vim.inspect(line(3))) end
    vim.defer_fn(look, 100)
  end
  look()
end, 100)
