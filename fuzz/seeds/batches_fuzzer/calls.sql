BEGIN TRANSACTION
GO
EXEC a N'it''s
GO
'
EXEC [b]]] 1
GO
/* /* GO */ ? */
COMMIT TRANSACTION
