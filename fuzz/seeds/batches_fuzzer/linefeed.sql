BEGIN TRANRAN
¸°òõ
GO
 TRAN
GO

GO
GO

GO
 TRAN
GO

GO

G